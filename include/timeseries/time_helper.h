#pragma once

#include <string>

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/query_interval.h"

namespace nvx::TimeSeriesDatabase::TimeHelper {

// The interval that lasts exactly `samplingRate` seconds. InvalidArgument, with `interval`
// unchanged, when none does; a Day and a Month have no fixed length.
NVX_TIMESERIES_EXPORT StatusCode ConvertSamplingRateToQueryInterval(unsigned long samplingRate,
                                                                    QueryInterval& interval);

// Sets `next` one interval after `from`: a fixed number of seconds later for minutes and hours, at
// the start of the next local day, or of the same day of the next month. `next` is unchanged for
// FullPeriod and any other value.
NVX_TIMESERIES_EXPORT void ComputeNextDate(QueryInterval interval, const Date::Date& from,
                                           Date::Date& next);

// Reads a date text of the host platform's codec as UTC seconds since the epoch. False, with
// `seconds` unchanged, when the codec refuses it.
NVX_TIMESERIES_EXPORT bool ConvertStringDateToUnixTime(const std::string& text, long long& seconds);

}  // namespace nvx::TimeSeriesDatabase::TimeHelper
