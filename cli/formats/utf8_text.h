#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether the text is UTF-8, as formats of text are: no overlong form, no half of a surrogate pair.
bool IsUtf8(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
