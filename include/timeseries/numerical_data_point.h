#pragma once

#include <limits>

#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase {

// The answer of a query for one interval.
struct NumericalDataPoint {
  Date::Date date;  // start of the interval, in the zone of the query's window
  double value = std::numeric_limits<double>::quiet_NaN();  // NaN when there is none
  bool quality = false;                                     // true: good, see the data function
};

}  // namespace nvx::TimeSeriesDatabase
