#include "rrd/described_file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "base/command_error.h"
#include "base/words.h"
#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// "2 things (a, b)"; of many, only the first ones are named.
template <typename Item, typename Name>
std::string CountAndName(const std::vector<Item>& items, const std::string& thing, Name name) {
  constexpr std::size_t MAXIMUM_NAMED_COUNT = 8;
  std::string names;
  for (std::size_t i = 0; i < std::min(items.size(), MAXIMUM_NAMED_COUNT); ++i) {
    const char* const separator = i == 0 ? "" : ", ";
    names += separator + name(items[i]);
  }
  names += items.size() > MAXIMUM_NAMED_COUNT ? ", ..." : "";
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
