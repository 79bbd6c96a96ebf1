#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text with %41 for what has a meaning in a URL.
std::string EncodeUrlPart(const std::string& text);

// The reverse.
std::string DecodeUrlPart(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
