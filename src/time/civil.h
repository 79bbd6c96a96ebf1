#pragma once

#include <cctz/civil_time.h>

#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase::Date {

// The local time that a date shows in its own zone.
cctz::civil_second ToLocal(const Date& date);

// The instant of a local time in a zone, in seconds since the epoch: the first instant after the
// gap for a skipped time, the first occurrence for a repeated one.
long long ToTimestamp(const cctz::civil_second& local, const cctz::time_zone& timeZone);

// `timestamp` plus `seconds`, but no further than the first or last second that 64 bits hold.
long long AddSeconds(long long timestamp, long long seconds);

}  // namespace nvx::TimeSeriesDatabase::Date
