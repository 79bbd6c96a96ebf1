#pragma once

#include <cctz/time_zone.h>

#include <optional>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char TIME_HELP[] =
    "TIME is seconds since the epoch or ISO 8601, such as 2021-03-28, 2021-03-28T01:00 or\n"
    "2021-03-28T01:00:30+02:00; without Z or an offset it is local time in the zone.";

// Throws UsageError for a zone that the zoneinfo database does not know.
cctz::time_zone LoadZone(const std::string& name);

// The nearest time in the years 1 to 9999.
long long ClampTime(long long seconds);

// Reads a TIME as seconds since the epoch. A local time that the clocks skip is the first instant
// after the gap, one that they repeat is its first occurrence. Nothing for any other text and for
// an instant outside the years 1 to 9999.
std::optional<long long> ParseTime(const std::string& text, const cctz::time_zone& zone);

// The same; throws UsageError instead.
long long ReadTime(const std::string& text, const cctz::time_zone& zone);

// The text form of an instant in UTC: "2021-03-28T01:00:00.000+00:00".
std::string FormatUtc(long long timestamp);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
