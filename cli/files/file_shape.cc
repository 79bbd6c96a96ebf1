#include "files/file_shape.h"

#include "error/command_error.h"
#include "error/last_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::string Count(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace

Rrd::FileDescription DescribeFile(const RrdClient& client, const std::string& path,
                                  const std::string& zeltId) {
  const LastError lastError;
  Rrd::FileDescription description;
  const StatusCode status = client.Describe(path, description);
  Require(status, zeltId, path + " cannot be read: " + lastError.GetReason());
  return description;
}

std::string DescribeShape(const Rrd::FileDescription& description) {
  constexpr std::size_t MAXIMUM_NAMED_COUNT = 8;
  std::string names;
  for (std::size_t i = 0; i < description.dataSources.size(); ++i) {
    if (i == MAXIMUM_NAMED_COUNT) {
      names += ", ...";
      break;
    }
    const Rrd::DataSourceDescription& source = description.dataSources[i];
    names += (i == 0 ? "" : ", ") + source.name + " " + source.type;
  }
  std::string archives;
  for (std::size_t i = 0; i < description.archives.size() && i <= MAXIMUM_NAMED_COUNT; ++i) {
    const Rrd::ArchiveDescription& archive = description.archives[i];
    archives += (i == 0 ? "" : ", ") +
                (i == MAXIMUM_NAMED_COUNT
                     ? "..."
                     : archive.consolidation + " of " + Count(archive.stepsPerRow, "step"));
  }
  return Count(description.dataSources.size(), "data source") + " (" + names + "), " +
         Count(description.archives.size(), "archive") + " (" + archives + ")";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
