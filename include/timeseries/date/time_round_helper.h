#pragma once

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/query_interval.h"

// Rounding of a date to the bounds of a query interval. FullPeriod has those of an Hour. A value
// outside its enumeration is logged and leaves the date unchanged.
namespace nvx::TimeSeriesDatabase::Date::TimeRoundHelper {

NVX_TIMESERIES_EXPORT void RoundDownTime(QueryInterval interval, Date& date);
NVX_TIMESERIES_EXPORT void RoundUpTime(QueryInterval interval, Date& date);
NVX_TIMESERIES_EXPORT void RoundBound(QueryInterval interval, RoundType type, Date& date);

}  // namespace nvx::TimeSeriesDatabase::Date::TimeRoundHelper
