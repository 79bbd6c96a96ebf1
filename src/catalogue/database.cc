#include "timeseries/rrd/database.h"

#include <utility>

#include "foundation/log.h"
#include "timeseries/host.h"
#include "timeseries/rrd/constants.h"
#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase {

DatabaseInterface::~DatabaseInterface() = default;

namespace Rrd {
namespace {

using Utilities::FileSystem;

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::Database";

}  // namespace

Database::Database(const std::string& directory, FileSystem& fileSystem,
                   RedisClientInterface& redisClient, RrdClient& rrdClient)
    : directory(directory),
      fileSystem(fileSystem),
      redisClient(redisClient),
      rrdClient(rrdClient) {}

Database::~Database() = default;

StatusCode Database::ListDataSources(std::set<std::string>& zeltIds) const {
  std::set<std::string> fileNames;
  const StatusCode rc = fileSystem.GetFileList(directory, DATA_SOURCE_FILE_EXTENSION, fileNames);
  if (rc != StatusCode::Success) {
    NVX_FAILURE("Failed to get file list in [%s]", directory.c_str());
    return rc;
  }
  return ProcessFileNames(fileNames, zeltIds);
}

StatusCode Database::HasDataSource(const std::string& zeltId) const {
  std::string path;
  return FindRrdFile(zeltId, path);
}

StatusCode Database::GetDataSource(const std::string& zeltId,
                                   std::unique_ptr<DataSourceInterface>& dataSource) const {
  std::unique_ptr<NumericalDataSource> made;
  const StatusCode rc = GetNumericalDataSource(zeltId, made);
  if (rc == StatusCode::Success) {
    dataSource = std::move(made);
  }
  return rc;
}

StatusCode Database::GetNumericalDataSource(
    const std::string& zeltId, std::unique_ptr<NumericalDataSourceInterface>& dataSource) const {
  std::unique_ptr<NumericalDataSource> made;
  const StatusCode rc = GetNumericalDataSource(zeltId, made);
  if (rc == StatusCode::Success) {
    dataSource = std::move(made);
  }
  return rc;
}

StatusCode Database::GetNumericalDataSource(
    const std::string& zeltId, std::unique_ptr<NumericalDataSource>& dataSource) const {
  std::string path;
  const StatusCode rc = FindRrdFile(zeltId, path);
  if (rc == StatusCode::Success) {
    dataSource = std::make_unique<NumericalDataSource>(path, redisClient, rrdClient);
  }
  return rc;
}

StatusCode Database::GetPathToRrdFile(const std::string& zeltId, std::string& path) const {
  std::string fileName;
  const StatusCode rc = FileHelper::ComputeFileNameFromZeltId(zeltId, fileName);
  if (rc == StatusCode::Success) {
    path = directory + "/" + fileName;
  }
  return rc;
}

StatusCode Database::FindRrdFile(const std::string& zeltId, std::string& path) const {
  const StatusCode rc = GetPathToRrdFile(zeltId, path);
  return rc == StatusCode::Success ? CheckFileExist(path) : rc;
}

StatusCode Database::ProcessFileNames(const std::set<std::string>& fileNames,
                                      std::set<std::string>& zeltIds) {
  for (const std::string& fileName : fileNames) {
    InsertZeltId(fileName, zeltIds);
  }
  if (!fileNames.empty() && zeltIds.empty()) {
    KeepFailure("no file is named after an id");
    return StatusCode::Failure;
  }
  return StatusCode::Success;
}

void Database::InsertZeltId(const std::string& fileName, std::set<std::string>& zeltIds) {
  std::string zeltId;
  if (FileHelper::ComputeZeltIdFromFileName(fileName, zeltId) != StatusCode::Success) {
    NVX_TRACE("Failed to retrieve zelt id from file [%s]", fileName.c_str());
    return;
  }
  zeltIds.insert(zeltId);
}

}  // namespace Rrd
}  // namespace nvx::TimeSeriesDatabase
