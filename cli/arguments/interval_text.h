#pragma once

#include <optional>
#include <string>

#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char INTERVAL_HELP[] =
    "INTERVAL is 1m, 2m, 3m, 5m, 6m, 10m, 12m, 15m, 20m, 30m, 1h, 1d, 1w, 1mo, 1q, 1y or all, or "
    "its name, such as FifteenMinutes, in upper or lower case; or several hours or longer units, "
    "such as 6h or 2w. Hours, up to 24h, are counted from local midnight; days and weeks from "
    "Monday, 5 January 1970; months, quarters and years from January 1970. With --day-start a day "
    "begins at another local time, and so does each longer interval; with --week-start sunday "
    "weeks are counted from 4 January 1970. A day or a longer unit of TIME begins there, too.";

// Throws UsageError for a text that names no interval.
CalendarInterval ReadInterval(const std::string& text);

// The time of the day of a text such as "06:00", in seconds after midnight. Throws UsageError for
// any other.
unsigned int ReadDayStart(const std::string& text);

// The interval of minutes or hours that lasts `seconds`.
std::optional<QueryInterval> FindIntervalOfLength(unsigned long seconds);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
