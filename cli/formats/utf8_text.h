#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether the text is valid UTF-8: no overlong character, no half of a surrogate pair.
bool IsUtf8(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
