#pragma once

#include <charconv>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Appends an integer, or a double in the shortest form that reads back to it; "nan" and "inf" for
// those that have none.
template <typename Number>
void AppendDecimal(Number number, std::string& text) {
  char digits[32];  // the longest is -2.2250738585072014e-308
  text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
