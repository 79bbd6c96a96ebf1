#pragma once

#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/query_interval.h"

namespace nvx::TimeSeriesDatabase {

// One measured value of one object of the platform: where its history begins and ends, and how
// often it is sampled. Times are seconds since the epoch.
class NVX_TIMESERIES_EXPORT DataSourceInterface {
 public:
  virtual ~DataSourceInterface();

  virtual StatusCode GetFirstTimestamp(long long& firstTimestamp) const = 0;
  virtual StatusCode GetLastTimestamp(long long& lastTimestamp) const = 0;

  // The sampling interval, in seconds or as the query interval of that length; InvalidArgument when
  // there is none.
  virtual StatusCode GetInterval(unsigned long& seconds) const = 0;
  virtual StatusCode GetInterval(QueryInterval& interval) const = 0;
};

}  // namespace nvx::TimeSeriesDatabase
