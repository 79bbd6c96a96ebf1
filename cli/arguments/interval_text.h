#pragma once

#include <optional>
#include <string>

#include "timeseries/query_interval.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char INTERVAL_HELP[] =
    "INTERVAL is 1m, 2m, 3m, 5m, 6m, 10m, 12m, 15m, 20m, 30m, 1h, 1d, 1mo or all, or its name,\n"
    "such as FifteenMinutes, in any case.";

// Throws UsageError for a text that names no interval.
QueryInterval ReadInterval(const std::string& text);

// The interval of minutes or hours that lasts `seconds`.
std::optional<QueryInterval> FindIntervalOfLength(unsigned long seconds);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
