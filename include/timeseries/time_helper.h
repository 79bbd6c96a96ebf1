#pragma once

#include <string>

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/query_interval.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::TimeHelper {

// The interval that always lasts `samplingRate` seconds, from OneMinute to Hour. InvalidArgument,
// with `interval` unchanged, when there is none.
NVX_TIMESERIES_EXPORT StatusCode ConvertSamplingRateToQueryInterval(unsigned long samplingRate,
                                                                    QueryInterval& interval);

// Sets `next` to one interval after `from`. For minutes and hours that is a fixed number of seconds
// later, for a Day the start of the next local day, for a Month the start of the same day of the
// next month. FullPeriod and unknown intervals leave `next` unchanged and write a line to the log.
NVX_TIMESERIES_EXPORT void ComputeNextDate(QueryInterval interval, const Date::Date& from,
                                           Date::Date& next);

// Reads a date text of the host platform's codec as UTC seconds since the epoch. False, with
// `seconds` unchanged, when the codec refuses it.
NVX_TIMESERIES_EXPORT bool ConvertStringDateToUnixTime(const std::string& text, long long& seconds);

}  // namespace nvx::TimeSeriesDatabase::TimeHelper
