#include "rrd/number_text.h"

#include <charconv>

namespace nvx::TimeSeriesDatabase {

char* WriteNumber(char* text, long long number) {
  return std::to_chars(text, text + LONGEST_NUMBER, number).ptr;
}

char* WriteNumber(char* text, double number) {
  return std::to_chars(text, text + LONGEST_NUMBER, number, std::chars_format::fixed,
                       FRACTION_DIGITS)
      .ptr;
}

}  // namespace nvx::TimeSeriesDatabase
