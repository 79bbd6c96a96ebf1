#pragma once

#include <limits>
#include <string>

namespace nvx::TimeSeriesDatabase {

// The most characters that a number needs: sign, digits, point and fraction of the longest double.
inline constexpr int FRACTION_DIGITS = 6;
inline constexpr int LONGEST_NUMBER =
    1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + FRACTION_DIGITS;

// Write a number as the RRD library reads it into a buffer of LONGEST_NUMBER characters, and return
// the end: an integer in decimal, a double with six digits after the point and without exponent
// ("%f" in the C locale, whatever the locale of the process).
char* WriteNumber(char* text, long long number);
char* WriteNumber(char* text, double number);

// Append it.
template <typename Number>
void AppendNumber(std::string& text, Number number) {
  char digits[LONGEST_NUMBER];
  text.append(digits, WriteNumber(digits, number));
}

}  // namespace nvx::TimeSeriesDatabase
