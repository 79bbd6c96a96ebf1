#pragma once

#include <optional>
#include <string>
#include <utility>

#include "arguments/time_expression.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Reads a value: a number or "inf", or "nan" or nothing for a missing sample, which is NaN.
std::optional<double> ParseValue(const std::string& text);

// Reads "TIME:VALUE". Throws UsageError for any other text, and for one that could also be a time
// without a value, such as 2021-03-28T01:00:30.
std::pair<TimeExpression, double> ReadSample(const std::string& text, const cctz::time_zone& zone);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
