#include "rrd/described_file.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <utility>

#include "base/command_error.h"
#include "base/words.h"
#include "replace/file_descriptor.h"
#include "timeseries/rrd/constants.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// "a, b and c".
template <typename Items, typename Name>
std::string JoinNames(const Items& items, Name name) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const bool isLast = i + 1 == items.size();
    text += (i == 0 ? "" : isLast ? " and " : ", ") + name(items[i]);
  }
  return text;
}

// "2 things (a, b)"; of many, only the first ones are named.
template <typename Item, typename Name>
std::string CountAndName(const std::vector<Item>& items, const std::string& thing, Name name) {
  constexpr std::size_t MAXIMUM_NAMED_COUNT = 8;
  std::string names;
  for (std::size_t i = 0; i < items.size() && i <= MAXIMUM_NAMED_COUNT; ++i) {
    names += (i == 0 ? "" : ", ") + (i == MAXIMUM_NAMED_COUNT ? "..." : name(items[i]));
  }
  return Count(items.size(), thing) + " (" + names + ")";
}

}  // namespace

bool IsOtherFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {  // reading anything else may block
    return false;
  }
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  errno = 0;
  const bool isOther = !BeginsAsRrdFile(file.Get());
  return file.IsOpen() && isOther && errno == 0;
}

Rrd::FileDescription DescribeFile(const PatientClient& client, const std::string& path,
                                  const std::string& zeltId) {
  Rrd::FileDescription file;
  const StatusCode status = client.Describe(path, file);
  if (status != StatusCode::Success && IsOtherFile(path)) {
    throw CommandError(zeltId, path + " is no RRD file", status);
  }
  Require(status, zeltId, std::string("its file cannot be read: ") + Failure::GetReason());
  return file;
}

Rrd::FileDescription DescribeSingleSource(const PatientClient& client, const std::string& path,
                                          const std::string& zeltId) {
  Rrd::FileDescription file = DescribeFile(client, path, zeltId);
  if (file.dataSources.size() != 1) {
    throw CommandError(
        zeltId, "its file has " + std::to_string(file.dataSources.size()) + " data sources, " +
                    JoinNames(file.dataSources, [](const auto& source) { return source.name; }) +
                    "; only files with one are read");
  }
  return file;
}

const Rrd::ArchiveDescription& RequireSampleArchive(const Rrd::FileDescription& file,
                                                    long long start, const std::string& zeltId) {
  // All archives that reach back to the start count as equal here.
  const auto getRank = [&](const Rrd::ArchiveDescription& archive) {
    const long long begin = archive.firstTime - static_cast<long long>(GetRowLength(file, archive));
    return std::pair(begin < start ? std::numeric_limits<long long>::min() : begin,
                     archive.stepsPerRow);
  };
  const Rrd::ArchiveDescription* best = nullptr;
  for (const Rrd::ArchiveDescription& archive : file.archives) {
    const bool hasSamples = archive.consolidation == Rrd::LAST_KEYWORD;
    if (hasSamples && (best == nullptr || getRank(archive) < getRank(*best))) {
      best = &archive;
    }
  }
  if (best == nullptr) {
    throw CommandError(zeltId,
                       "only archives of LAST, AVERAGE, MIN and MAX are read; its file has " +
                           JoinNames(file.archives, [&](const auto& other) {
                             return other.consolidation + " with rows of " +
                                    std::to_string(GetRowLength(file, other)) + " s";
                           }));
  }
  return *best;
}

std::string DescribeShape(const Rrd::FileDescription& file) {
  return CountAndName(file.dataSources, "data source",
                      [](const auto& source) { return source.name + " " + source.type; }) +
         ", " + CountAndName(file.archives, "archive", [](const auto& archive) {
           return archive.consolidation + " of " + Count(archive.stepsPerRow, "step");
         });
}

unsigned long GetRowLength(const Rrd::FileDescription& file,
                           const Rrd::ArchiveDescription& archive) {
  return archive.stepsPerRow * file.step;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
