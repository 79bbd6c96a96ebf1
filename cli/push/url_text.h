#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text with escapes such as %41 for characters that have a meaning in a URL.
std::string EncodeUrlPart(const std::string& text);

// The reverse.
std::string DecodeUrlPart(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
