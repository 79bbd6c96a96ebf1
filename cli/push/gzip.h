#pragma once

#include <string>
#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text as a gzip file.
std::string Gzip(std::string_view text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
