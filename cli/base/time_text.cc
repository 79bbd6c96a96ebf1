#include "base/time_text.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "timeseries/date/date.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long EARLIEST_TIME = -62135596800;  // 0001-01-01T00:00:00Z
constexpr long long LATEST_TIME = 253402300799;    // 9999-12-31T23:59:59Z

bool IsNumber(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

// A year, a month, a date without hyphens, or a time with a blank for its T, as ISO 8601 for the
// platform's codec.
std::string Complete(std::string text) {
  constexpr std::size_t YEAR_SIZE = 4;
  constexpr std::size_t MONTH_SIZE = 7;
  constexpr std::size_t BARE_DAY_SIZE = 8;
  constexpr std::size_t DAY_SIZE = 10;
  if (text.size() == YEAR_SIZE && IsNumber(text)) {
    return text + "-01-01";
  }
  if (text.size() == BARE_DAY_SIZE && IsNumber(text)) {
    return text.substr(0, 4) + '-' + text.substr(4, 2) + '-' + text.substr(6);
  }
  if (text.size() == MONTH_SIZE) {
    return text + "-01";
  }
  if (text.size() > DAY_SIZE && text[DAY_SIZE] == ' ') {
    text[DAY_SIZE] = 'T';
  }
  return text;
}

// The first day of a quarter; nothing where the year has no such one.
std::optional<cctz::civil_day> FindQuarter(const cctz::civil_year& year, cctz::diff_t number) {
  constexpr cctz::diff_t MONTHS_PER_QUARTER = 3;
  const cctz::civil_month first = cctz::civil_month(year) + (number - 1) * MONTHS_PER_QUARTER;
  const bool isOfYear = number >= 1 && cctz::civil_year(first) == year;
  return isOfYear ? std::optional(cctz::civil_day(first)) : std::nullopt;
}

// The Monday of a week of ISO 8601, of which the first one has January 4; nothing where the year
// has no such one.
std::optional<cctz::civil_day> FindWeek(const cctz::civil_year& year, cctz::diff_t number) {
  constexpr cctz::diff_t DAYS_PER_WEEK = 7;
  const cctz::civil_day behindFourth = cctz::civil_day(year) + 4;
  const cctz::civil_day first = cctz::prev_weekday(behindFourth, cctz::weekday::monday);
  const cctz::civil_day monday = first + (number - 1) * DAYS_PER_WEEK;
  const bool isOfYear = number >= 1 && cctz::civil_year(monday + 3) == year;
  return isOfYear ? std::optional(monday) : std::nullopt;
}

// The first day of a quarter "2024-Q3" or of a week "2024-W07"; nothing for any other text.
std::optional<cctz::civil_day> FindFirstDay(const std::string& text) {
  constexpr std::size_t QUARTER_SIZE = 7;
  constexpr std::size_t WEEK_SIZE = 8;
  if (text.size() != QUARTER_SIZE && text.size() != WEEK_SIZE) {
    return std::nullopt;
  }
  const std::string digits = text.substr(0, 4) + text.substr(6);
  const std::string kind = text.substr(4, 2);
  if (!IsNumber(digits) || kind != (text.size() == QUARTER_SIZE ? "-Q" : "-W")) {
    return std::nullopt;
  }
  const cctz::civil_year year(std::stoi(digits.substr(0, 4)));
  const int number = std::stoi(digits.substr(4));
  return kind == "-Q" ? FindQuarter(year, number) : FindWeek(year, number);
}

bool HasOffset(const std::string& text) {
  const std::size_t clock = text.find('T');
  return clock != std::string::npos && text.find_first_of("Z+-", clock) != std::string::npos;
}

std::optional<long long> ParseSeconds(const std::string& text) {
  constexpr std::size_t LEAST_SIZE = 9;  // fewer digits are a year or a date
  const bool isMarked = !text.empty() && text.front() == '@';
  if (!isMarked && (text.size() < LEAST_SIZE || !IsNumber(text))) {
    return std::nullopt;
  }
  long long seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + (isMarked ? 1 : 0), end, seconds);
  return rest == end && error == std::errc() ? std::optional(seconds) : std::nullopt;
}

std::optional<long long> ParseIso8601(const std::string& text, const cctz::time_zone& zone,
                                      unsigned int dayStart) {
  long long seconds = 0;
  if (!TimeHelper::ConvertStringDateToUnixTime(text, seconds)) {
    return std::nullopt;
  }
  if (HasOffset(text)) {
    return seconds;
  }
  const cctz::time_point<cctz::seconds> read{cctz::seconds(seconds)};
  const cctz::civil_second local = cctz::convert(read, cctz::utc_time_zone());
  const unsigned int start = text.find('T') == std::string::npos ? dayStart : 0;
  return cctz::convert(local + start, zone).time_since_epoch().count();
}

}  // namespace

long long ClampTime(long long seconds) { return std::clamp(seconds, EARLIEST_TIME, LATEST_TIME); }

std::optional<long long> ParseTime(const std::string& text, const cctz::time_zone& zone,
                                   unsigned int dayStart) {
  std::optional<long long> seconds = ParseSeconds(text);
  if (const std::optional<cctz::civil_day> day = FindFirstDay(text)) {
    seconds = cctz::convert(cctz::civil_second(*day) + dayStart, zone).time_since_epoch().count();
  } else if (!seconds) {
    seconds = ParseIso8601(Complete(text), zone, dayStart);
  }
  return seconds && ClampTime(*seconds) == *seconds ? seconds : std::nullopt;
}

std::string FormatTime(long long timestamp, const cctz::time_zone& zone) {
  Date::Date date;
  date.timestamp = timestamp;
  date.timeZone = zone;
  return date.ToText();
}

std::string FormatUtc(long long timestamp) { return FormatTime(timestamp, cctz::utc_time_zone()); }

}  // namespace nvx::TimeSeriesDatabase::CommandLine
