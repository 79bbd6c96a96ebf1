#include "arguments/interval_text.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <vector>

#include "arguments/nearest_word.h"
#include "base/command_error.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct KnownInterval {
  const char* shortName;
  const char* name;
  CalendarInterval interval;
};

KnownInterval Know(const char* shortName, QueryInterval interval) {
  return {shortName, QueryIntervalToString(interval), ToCalendarInterval(interval)};
}

const std::vector<KnownInterval>& ListKnown() {
  static const std::vector<KnownInterval> KNOWN = {
      Know("1m", QueryInterval::OneMinute),
      Know("2m", QueryInterval::TwoMinutes),
      Know("3m", QueryInterval::ThreeMinutes),
      Know("5m", QueryInterval::FiveMinutes),
      Know("6m", QueryInterval::SixMinutes),
      Know("10m", QueryInterval::TenMinutes),
      Know("12m", QueryInterval::TwelveMinutes),
      Know("15m", QueryInterval::FifteenMinutes),
      Know("20m", QueryInterval::TwentyMinutes),
      Know("30m", QueryInterval::ThirtyMinutes),
      Know("1h", QueryInterval::Hour),
      Know("1d", QueryInterval::Day),
      {"1w", "Week", {CalendarUnit::Week}},
      Know("1mo", QueryInterval::Month),
      {"1q", "Quarter", {CalendarUnit::Quarter}},
      {"1y", "Year", {CalendarUnit::Year}},
      Know("all", QueryInterval::FullPeriod),
  };
  return KNOWN;
}

bool IsSameName(const std::string& text, const char* name) {
  return strcasecmp(text.c_str(), name) == 0;
}

// A count and a unit of which there may be several; nothing for any other text.
std::optional<CalendarInterval> ReadSeveral(const std::string& text) {
  constexpr unsigned int MOST_HOURS = 24;
  constexpr unsigned int MOST = 9999;
  const std::size_t digitCount = std::min(text.find_first_not_of("0123456789"), text.size());
  const std::string unit = "1" + text.substr(digitCount);
  const auto known = std::find_if(ListKnown().begin(), ListKnown().end(), [&unit](const auto& one) {
    return IsSameName(unit, one.shortName);
  });
  const bool isSeveral =
      digitCount > 0 && known != ListKnown().end() && known->interval.unit != CalendarUnit::Minute;
  if (!isSeveral) {
    return std::nullopt;
  }
  CalendarInterval interval = known->interval;
  const char* const digits = text.data();
  const auto status = std::from_chars(digits, digits + digitCount, interval.count).ec;
  const bool isHours = interval.unit == CalendarUnit::Hour;
  if (status != std::errc() || interval.count > (isHours ? MOST_HOURS : MOST)) {
    throw UsageError(text, isHours ? "hours are counted from midnight, so that 24h are the most"
                                   : "the most is " + std::to_string(MOST) + unit.substr(1));
  }
  if (interval.count == 0) {
    throw UsageError(text, "an interval without length");
  }
  return interval;
}

}  // namespace

CalendarInterval ReadInterval(const std::string& text) {
  for (const auto& known : ListKnown()) {
    if (IsSameName(text, known.shortName) || IsSameName(text, known.name)) {
      return known.interval;
    }
  }
  const std::optional<CalendarInterval> several = ReadSeveral(text);
  if (several) {
    return *several;
  }
  std::string shortNames;
  std::vector<std::string> words;  // a short name that is near has another number or unit
  for (const auto& known : ListKnown()) {
    shortNames += (shortNames.empty() ? "" : ", ") + std::string(known.shortName);
    words.emplace_back(known.name);
  }
  throw UsageError(text, "unknown interval, not one of " + shortNames +
                             ", nor several from 2h on, such as 2d" + SuggestWord(text, words));
}

unsigned int ReadDayStart(const std::string& text) {
  constexpr unsigned int HOURS_PER_DAY = 24;
  constexpr unsigned int MINUTES_PER_HOUR = 60;
  unsigned int hours = HOURS_PER_DAY;
  unsigned int minutes = MINUTES_PER_HOUR;
  const std::size_t colon = text.find(':');
  if (colon == 1 || colon == 2) {
    const char* const end = text.data() + text.size();
    const char* const middle = text.data() + colon;
    const bool isWhole = std::from_chars(text.data(), middle, hours).ptr == middle &&
                         std::from_chars(middle + 1, end, minutes).ptr == end;
    if (isWhole && end - middle == 3 && hours < HOURS_PER_DAY && minutes < MINUTES_PER_HOUR) {
      return (hours * MINUTES_PER_HOUR + minutes) * 60;
    }
  }
  throw UsageError(text, "no time from 00:00 to 23:59, such as 06:00");
}

std::optional<QueryInterval> FindIntervalOfLength(unsigned long seconds) {
  for (auto value = static_cast<unsigned char>(QueryInterval::OneMinute);
       value <= static_cast<unsigned char>(QueryInterval::Hour); ++value) {
    const auto interval = static_cast<QueryInterval>(value);
    Date::Date next;
    TimeHelper::ComputeNextDate(interval, Date::Date(), next);
    if (static_cast<unsigned long>(next.timestamp) == seconds) {
      return interval;
    }
  }
  return std::nullopt;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
