#pragma once

#include <string>
#include <vector>

#include "timeseries/data_functions.h"
#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/host_fwd.h"
#include "timeseries/numerical_data_source_interface.h"
#include "timeseries/rrd/fetch_result.h"
#include "timeseries/rrd_client.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A data source stored in one RRD file. Keeps no state between calls; distinct threads may query at
// the same time.
class NVX_TIMESERIES_EXPORT NumericalDataSource : public NumericalDataSourceInterface {
 public:
  // Where the store keeps the two values: fields of the hash whose key is the file's path. Both are
  // decimal numbers of seconds.
  static const std::string FIELD_FIRST_TIMESTAMP;
  static const std::string FIELD_INTERVAL;

  // Copies the path and reads nothing; the two clients must outlive the data source.
  NumericalDataSource(const std::string& filePath, RedisClientInterface& redisClient,
                      RrdClient& rrdClient);
  ~NumericalDataSource() override;

  // From the store, or from the file when the store has no value. Failure, without a look at the
  // file, when the store's text is no number; otherwise the code of RrdClient.
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

  // The same with any data function. For FullPeriod it is the delta, whatever the function.
  StatusCode Fetch(const TimeWindow& window, QueryInterval interval, const DataFunction& function,
                   std::vector<NumericalDataPoint>& points);

  // Appends one point for each interval from one bound to the next, of any length, with codes and
  // qualities as FetchAverage. InvalidArgument, before anything is read, for fewer than two bounds,
  // for bounds that do not ascend and for bounds of different zones. Calendar::ListBounds lists the
  // bounds of weeks, quarters, years and others:
  //
  //   CalendarInterval week;
  //   week.unit = CalendarUnit::Week;
  //   std::vector<Date::Date> bounds;
  //   DataFunction percentile;
  //   if (Calendar::AdjustTimeWindow(week, window) == StatusCode::Success &&
  //       Calendar::ListBounds(week, window, bounds) == StatusCode::Success &&
  //       DataFunctions::MakePercentile(95000, percentile) == StatusCode::Success &&
  //       source.Fetch(bounds, percentile, points) == StatusCode::Success) {
  //     // points[0] is the week from window.start
  //   }
  StatusCode Fetch(const std::vector<Date::Date>& bounds, const DataFunction& function,
                   std::vector<NumericalDataPoint>& points);

 private:
  NVX_TIMESERIES_HIDDEN StatusCode FetchSamples(const TimeWindow& window,
                                                FetchResult& result) const;
  NVX_TIMESERIES_HIDDEN StatusCode CheckStart(const TimeWindow& window, const FetchResult& result,
                                              std::vector<NumericalDataPoint>& points);
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
