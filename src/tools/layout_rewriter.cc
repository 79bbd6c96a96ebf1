#include "tools/layout_rewriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

// A large file is copied faster in large pieces.
constexpr std::size_t VALUES_PIECE_SIZE = std::size_t{1} << 20;

using Types = std::vector<const RrdType*>;

// Keeps the type of a definition for the states that follow, and returns the kinds of its unions.
std::string_view Define(const RrdType* type, Types& types) {
  types.push_back(type);
  return type == nullptr ? std::string_view() : type->par;
}

// As integers: a floating-point register would change a signalling NaN.
void ReverseValues(unsigned char* bytes, std::size_t size) {
  for (std::size_t offset = 0; offset < size; offset += VALUE_SIZE) {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes + offset, sizeof value);
    value = __builtin_bswap64(value);
    std::memcpy(bytes + offset, &value, sizeof value);
  }
}

}  // namespace

LayoutRewriter::LayoutRewriter(int fd, const RecognisedFile& file, Layout targetLayout)
    : fd(fd), file(file), source(GetMachine(file.layout)), target(GetMachine(targetLayout)) {}

StatusCode LayoutRewriter::CheckHeader() {
  FileReader reader(fd, 0);
  return RewriteHeader(reader, nullptr);
}

StatusCode LayoutRewriter::WriteTo(FileWriter& writer) {
  FileReader reader(fd, 0);
  const StatusCode rc = RewriteHeader(reader, &writer);
  return rc == StatusCode::Success ? CopyValues(reader.GetOffset(), writer) : rc;
}

// Without a writer, the header is only read.
StatusCode LayoutRewriter::RewriteHeader(FileReader& reader, FileWriter* writer) {
  Types sources;
  Types archives;
  const auto none = [](const Record&, std::uint64_t) { return NO_UNIONS; };
  const Part parts[] = {
      {STAT_HEAD, 1, none},
      {DS_DEF, file.dsCount,
       [&](const Record& record, std::uint64_t) {
         return Define(FindType(SOURCE_TYPES, record.GetText("dst")), sources);
       }},
      {RRA_DEF, file.rraCount,
       [&](const Record& record, std::uint64_t) {
         return Define(FindType(ARCHIVE_TYPES, record.GetText("cf_nam")), archives);
       }},
      {FindVersion(file.version)->liveHead, 1, none},
      {PDP_PREP, file.dsCount,
       [&](const Record&, std::uint64_t index) {
         return sources[static_cast<std::size_t>(index)]->scratch;
       }},
      {CDP_PREP, file.dsCount * file.rraCount,
       [&](const Record&, std::uint64_t index) {
         return archives[static_cast<std::size_t>(index / file.dsCount)]->scratch;
       }},
      {RRA_PTR, file.rraCount, none},
  };
  for (const Part& part : parts) {
    const StatusCode rc = RewriteRecords(reader, part, writer);
    if (rc != StatusCode::Success) {
      return rc;
    }
  }
  return StatusCode::Success;
}

StatusCode LayoutRewriter::RewriteRecords(FileReader& reader, const Part& part,
                                          FileWriter* writer) {
  const std::size_t size = SizeOf(source, part.structure);
  const std::size_t targetSize = SizeOf(target, part.structure);
  for (std::uint64_t i = 0; i < part.count; ++i) {
    const unsigned char* const bytes = reader.Read(size);
    if (bytes == nullptr) {
      return Fail(StatusCode::InvalidArgument, "Failed to read the header");
    }
    const Record record(source, part.structure, bytes);
    std::array<unsigned char, MAX_STRUCTURE_SIZE> targetBytes{};
    const std::string_view unions = part.getUnions(record, i);
    if (unions.empty()) {
      return Fail(StatusCode::InvalidArgument, std::string("its ") + part.structure.name + "[" +
                                                   std::to_string(i) + "] has an unknown type");
    }
    const std::string misfit = record.ConvertTo(target, unions, targetBytes.data());
    if (!misfit.empty()) {
      return Fail(StatusCode::InvalidArgument, "its " + misfit);
    }
    if (writer != nullptr && !writer->Append(targetBytes.data(), targetSize)) {
      return Fail(StatusCode::IoError, std::generic_category().message(errno));
    }
  }
  return StatusCode::Success;
}

StatusCode LayoutRewriter::CopyValues(std::uint64_t offset, FileWriter& writer) {
  std::uint64_t remaining = file.rowCount * file.dsCount * VALUE_SIZE;
  const auto pieceSize =
      static_cast<std::size_t>(std::min<std::uint64_t>(remaining, VALUES_PIECE_SIZE));
  FileReader reader(fd, offset, pieceSize);
  bool isWritten = writer.Flush();
  while (isWritten && remaining != 0) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, pieceSize));
    unsigned char* const bytes = reader.Read(size);
    if (bytes == nullptr) {
      return Fail(StatusCode::InvalidArgument, "Failed to read data block");
    }
    if (source.order != target.order) {
      ReverseValues(bytes, size);
    }
    isWritten = writer.Write(bytes, size);
    remaining -= size;
  }
  return isWritten ? StatusCode::Success
                   : Fail(StatusCode::IoError, std::generic_category().message(errno));
}

StatusCode LayoutRewriter::Fail(StatusCode status, const std::string& text) {
  reason = text;
  return status;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
