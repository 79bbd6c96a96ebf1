#pragma once

#include <string>

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// The span of a query, both ends included: a window from 00:00 to 01:00 holds the samples of 00:00
// and of 01:00.
struct NVX_TIMESERIES_EXPORT TimeWindow {
  Date::Date start;
  Date::Date end;

  // Success when the start is before the end and the zones of both have the same name;
  // InvalidArgument otherwise.
  StatusCode IsValid() const;
};

// Both dates, each in its own zone: "2024-03-31T00:00:00.000+01:00 -
// 2024-04-01T00:00:00.000+02:00".
NVX_TIMESERIES_EXPORT std::string TimeWindowToString(const TimeWindow& window);

}  // namespace nvx::TimeSeriesDatabase
