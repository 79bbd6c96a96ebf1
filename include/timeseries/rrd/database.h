#pragma once

#include <memory>
#include <set>
#include <string>

#include "timeseries/database_interface.h"
#include "timeseries/export.h"
#include "timeseries/host_fwd.h"
#include "timeseries/rrd/numerical_data_source.h"
#include "timeseries/rrd_client.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A directory with one RRD file per data source. Nothing is cached: every call reads the directory
// again.
class NVX_TIMESERIES_EXPORT Database : public DatabaseInterface {
 public:
  // Copies the directory's path and checks nothing. The three services must outlive the database
  // and every data source that it hands out.
  Database(const std::string& directory, Utilities::FileSystem& fileSystem,
           RedisClientInterface& redisClient, RrdClient& rrdClient);
  ~Database() override;

  // Adds the ids of all RRD files in the directory. Files whose names give no id are skipped.
  // Failure when there are files and yet `zeltIds` is empty; the host's code, with `zeltIds`
  // unchanged, when the directory cannot be read.
  StatusCode ListDataSources(std::set<std::string>& zeltIds) const override;

  // These three return InvalidArgument for an id that has no file name, and the code of
  // FileSystem::CheckFileExist when there is no such file. The file itself is not opened.
  StatusCode HasDataSource(const std::string& zeltId) const override;
  StatusCode GetDataSource(const std::string& zeltId,
                           std::unique_ptr<DataSourceInterface>& dataSource) const override;
  StatusCode GetNumericalDataSource(
      const std::string& zeltId,
      std::unique_ptr<NumericalDataSourceInterface>& dataSource) const override;

  // The same as the class itself, which answers Fetch with any data function.
  StatusCode GetNumericalDataSource(const std::string& zeltId,
                                    std::unique_ptr<NumericalDataSource>& dataSource) const;

  // The path of an id's file, whether it exists or not. InvalidArgument, with `path` unchanged, for
  // an id that has no file name.
  StatusCode GetPathToRrdFile(const std::string& zeltId, std::string& path) const;

  // Add the ids of bare file names to `zeltIds`; a name that gives none is skipped. Failure when
  // there are names and yet `zeltIds` is empty.
  static StatusCode ProcessFileNames(const std::set<std::string>& fileNames,
                                     std::set<std::string>& zeltIds);
  static void InsertZeltId(const std::string& fileName, std::set<std::string>& zeltIds);

 private:
  NVX_TIMESERIES_HIDDEN StatusCode FindRrdFile(const std::string& zeltId, std::string& path) const;

  std::string directory;
  Utilities::FileSystem& fileSystem;
  RedisClientInterface& redisClient;
  RrdClient& rrdClient;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
