#pragma once

#include "timeseries/export.h"
#include "timeseries/query_interval.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// One measured value of one object of the platform: where its history begins and ends, and how
// often it is sampled. Times are seconds since the epoch.
class NVX_TIMESERIES_EXPORT DataSourceInterface {
 public:
  virtual ~DataSourceInterface();

  // The oldest time that is kept, which may precede the first sample.
  virtual StatusCode GetFirstTimestamp(long long& firstTimestamp) const = 0;
  virtual StatusCode GetLastTimestamp(long long& lastTimestamp) const = 0;

  // The time from one sample to the next, in seconds.
  virtual StatusCode GetInterval(unsigned long& seconds) const = 0;

  // The same as a query interval. InvalidArgument, with `interval` unchanged, when no query
  // interval has that length.
  virtual StatusCode GetInterval(QueryInterval& interval) const = 0;
};

}  // namespace nvx::TimeSeriesDatabase
