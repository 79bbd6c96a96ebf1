#pragma once

#include <string>
#include <vector>

#include "timeseries/data_functions.h"
#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/numerical_data_source_interface.h"
#include "timeseries/rrd/fetch_result.h"
#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A data source stored in one RRD file. Keeps no state between calls; distinct threads may query at
// the same time.
class NVX_TIMESERIES_EXPORT NumericalDataSource : public NumericalDataSourceInterface {
 public:
  // Fields of the store's hash whose key is the file's path, both decimal texts of seconds.
  static const std::string FIELD_FIRST_TIMESTAMP;
  static const std::string FIELD_INTERVAL;

  // Copies the path and reads nothing; the two clients must outlive the data source.
  NumericalDataSource(const std::string& path, RedisClientInterface& redis, RrdClient& rrd);
  ~NumericalDataSource() override;

  // From the store, or from the file when the store has no value. Failure when the store's text is
  // no number; otherwise the code of the reading of the file.
  StatusCode GetFirstTimestamp(long long& firstTimestamp) const override;
  StatusCode GetInterval(unsigned long& seconds) const override;
  StatusCode GetInterval(QueryInterval& interval) const override;

  // Always from the file.
  StatusCode GetLastTimestamp(long long& lastTimestamp) const override;

  StatusCode Reserved() override;
  StatusCode FetchAverage(const TimeWindow& window, QueryInterval interval,
                          std::vector<NumericalDataPoint>& points) override;
  StatusCode FetchDelta(const TimeWindow& window, QueryInterval interval,
                        std::vector<NumericalDataPoint>& points) override;

 private:
  NVX_TIMESERIES_HIDDEN StatusCode FetchAndProcess(QueryInterval interval, const TimeWindow& window,
                                                   const DataFunction& function,
                                                   std::vector<NumericalDataPoint>& points);
  NVX_TIMESERIES_HIDDEN StatusCode ProcessByInterval(QueryInterval interval,
                                                     const TimeWindow& window,
                                                     const DataFunction& function,
                                                     const FetchResult& result,
                                                     std::vector<NumericalDataPoint>& points);
  NVX_TIMESERIES_HIDDEN StatusCode ComputeDelta(const TimeWindow& window, const FetchResult& result,
                                                std::vector<NumericalDataPoint>& points);
  NVX_TIMESERIES_HIDDEN void SetQualitiesToBad(std::vector<NumericalDataPoint>& points);

  std::string filePath;
  RedisClientInterface& redisClient;
  RrdClient& rrdClient;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
