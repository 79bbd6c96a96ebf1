#include "tools/layout_rewriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "tools/record.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

// A large file is copied faster in large pieces.
constexpr std::size_t VALUES_PIECE_SIZE = std::size_t{1} << 20;

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
  const struct {
    Structure structure;
    std::uint64_t count;
  } parts[] = {
      {STAT_HEAD, 1},           {DS_DEF, file.dsCount},   {RRA_DEF, file.rraCount},
      {LIVE_HEAD, 1},           {PDP_PREP, file.dsCount}, {CDP_PREP, file.dsCount * file.rraCount},
      {RRA_PTR, file.rraCount},
  };
  for (const auto& [structure, count] : parts) {
    const StatusCode rc = RewriteRecords(reader, structure, count, writer);
    if (rc != StatusCode::Success) {
      return rc;
    }
  }
  return StatusCode::Success;
}

StatusCode LayoutRewriter::RewriteRecords(FileReader& reader, const Structure& structure,
                                          std::uint64_t count, FileWriter* writer) {
  const std::size_t size = SizeOf(source, structure);
  const std::size_t targetSize = SizeOf(target, structure);
  for (std::uint64_t i = 0; i < count; ++i) {
    const unsigned char* const bytes = reader.Read(size);
    if (bytes == nullptr) {
      return Fail(StatusCode::InvalidArgument, "Failed to read the header");
    }
    std::array<unsigned char, MAX_STRUCTURE_SIZE> targetBytes{};
    const std::string_view misfit =
        Record(source, structure, bytes).ConvertTo(target, targetBytes.data());
    if (!misfit.empty()) {
      return Fail(StatusCode::InvalidArgument,
                  "its " + std::string(misfit) + " does not fit into a number of " + target.name);
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
    const unsigned char* const bytes = reader.Read(size);
    if (bytes == nullptr) {
      return Fail(StatusCode::InvalidArgument, "Failed to read data block");
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
