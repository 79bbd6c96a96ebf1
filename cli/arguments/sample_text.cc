#include "arguments/sample_text.h"

#include <charconv>
#include <limits>

#include "base/command_error.h"
#include "base/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

namespace {

bool IsDigit(char character) { return '0' <= character && character <= '9'; }

// Whether minutes or seconds of a time may stand behind its colon.
bool MayEndTime(const std::string& text, std::size_t colon) {
  return text.find_first_of("T ") < colon && text.size() > colon + 2 && IsDigit(text[colon + 1]) &&
         IsDigit(text[colon + 2]);
}

}  // namespace

std::optional<double> ParseValue(const std::string& text) {
  if (text.empty()) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  return rest == end && error == std::errc() ? std::optional(value) : std::nullopt;
}

std::pair<TimeExpression, double> ReadSample(const std::string& text, const cctz::time_zone& zone) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || (MayEndTime(text, colon) && ParseTime(text, zone))) {
    throw UsageError(text, "not TIME:VALUE; give the time with seconds where it is ambiguous");
  }
  const std::optional<double> value = ParseValue(text.substr(colon + 1));
  if (!value) {
    throw UsageError(text, "the value is not a number");
  }
  return {TimeExpression(text.substr(0, colon), zone), *value};
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
