#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text as a gzip file.
std::string Gzip(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
