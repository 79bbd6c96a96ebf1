#pragma once

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase {

// The calendar intervals into which a query cuts its window. Minutes and hours last a fixed time;
// a Day or a Month is one of the local calendar, so its length follows the changes of the clocks.
enum class QueryInterval : unsigned char {
  OneMinute = 0,
  TwoMinutes,
  ThreeMinutes,
  FiveMinutes,
  SixMinutes,
  TenMinutes,
  TwelveMinutes,
  FifteenMinutes,
  TwentyMinutes,
  ThirtyMinutes,
  Hour,
  Day,
  Month,
  FullPeriod,  // the whole window as one interval
};

// The enumerator's name, a static string; empty for a value outside the enumeration.
NVX_TIMESERIES_EXPORT const char* QueryIntervalToString(QueryInterval interval);

// Order by length. All values outside the enumeration are equal and come before OneMinute.
NVX_TIMESERIES_EXPORT bool operator<(QueryInterval lhs, QueryInterval rhs);
NVX_TIMESERIES_EXPORT bool operator>(QueryInterval lhs, QueryInterval rhs);
NVX_TIMESERIES_EXPORT bool operator<=(QueryInterval lhs, QueryInterval rhs);

}  // namespace nvx::TimeSeriesDatabase
