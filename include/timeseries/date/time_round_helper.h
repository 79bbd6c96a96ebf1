#pragma once

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/query_interval.h"

// Rounding of a date to a bound of a query interval, as the operations of Date do it. FullPeriod is
// rounded like an Hour. An interval or round type outside its enumeration leaves the date unchanged
// and writes a line to the log.
namespace nvx::TimeSeriesDatabase::Date::TimeRoundHelper {

NVX_TIMESERIES_EXPORT void RoundDownTime(QueryInterval interval, Date& date);
NVX_TIMESERIES_EXPORT void RoundUpTime(QueryInterval interval, Date& date);
NVX_TIMESERIES_EXPORT void RoundBound(QueryInterval interval, RoundType type, Date& date);

}  // namespace nvx::TimeSeriesDatabase::Date::TimeRoundHelper
