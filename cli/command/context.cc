#include "command/context.h"

#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char NO_SUCH_DATA_SOURCE[] = "no such data source";

}  // namespace

std::string Context::GetPath(const std::string& zeltId) {
  std::string fileName;
  Require(Rrd::FileHelper::ComputeFileNameFromZeltId(zeltId, fileName), zeltId,
          "not an id, which is a known scope, ':' and a name");
  if (fileName.find('/') != std::string::npos) {
    throw CommandError(zeltId, "an id with '/' would leave the directory",
                       StatusCode::InvalidArgument);
  }
  std::string path;
  Require(MakeDatabase().GetPathToRrdFile(zeltId, path), zeltId, "the id has no path");
  return path;
}

std::string Context::GetPathOfExisting(const std::string& zeltId) {
  std::string path = GetPath(zeltId);
  Require(Utilities::FileSystem::CheckFileExist(path), zeltId, NO_SUCH_DATA_SOURCE);
  return path;
}

std::unique_ptr<NumericalDataSourceInterface> Context::Open(const std::string& zeltId) {
  GetPath(zeltId);
  std::unique_ptr<NumericalDataSourceInterface> dataSource;
  Require(MakeDatabase().GetNumericalDataSource(zeltId, dataSource), zeltId, NO_SUCH_DATA_SOURCE);
  return dataSource;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
