#include "rrd/number_text.h"

#include <charconv>
#include <limits>

namespace nvx::TimeSeriesDatabase {
namespace {

constexpr int FRACTION_DIGITS = 6;
// Sign, digits, point and fraction of the longest double.
constexpr int LONGEST_TEXT =
    1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + FRACTION_DIGITS;

}  // namespace

void AppendNumber(std::string& text, long long number) { text += std::to_string(number); }

void AppendNumber(std::string& text, double number) {
  char digits[LONGEST_TEXT];
  const std::to_chars_result result = std::to_chars(digits, digits + LONGEST_TEXT, number,
                                                    std::chars_format::fixed, FRACTION_DIGITS);
  text.append(digits, result.ptr);
}

}  // namespace nvx::TimeSeriesDatabase
