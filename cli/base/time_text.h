#pragma once

#include <cctz/time_zone.h>

#include <optional>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The nearest time in the years 1 to 9999.
long long ClampTime(long long seconds);

// Reads a time that is written out, and returns seconds since the epoch. The text is such a number,
// with nine digits or more or after an "@"; a date of eight digits; ISO 8601, with a T or a blank;
// a month, a year, a quarter such as 2024-Q3, or a week of ISO 8601 such as 2024-W07, each of which
// is its beginning. A local time that the clocks skip is the first instant after the gap, one that
// they repeat is its first occurrence. A day without a time, and all that consists of days, begins
// `dayStart` seconds after midnight. Nothing for any other text and for an instant outside the
// years 1 to 9999.
std::optional<long long> ParseTime(const std::string& text, const cctz::time_zone& zone,
                                   unsigned int dayStart = 0);

// The text form of an instant in a zone: "2021-03-28T03:00:00.000+02:00".
std::string FormatTime(long long timestamp, const cctz::time_zone& zone);

// The same in UTC.
std::string FormatUtc(long long timestamp);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
