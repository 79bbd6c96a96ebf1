#include "arguments/interval_text.h"

#include <strings.h>

#include "arguments/nearest_word.h"
#include "base/command_error.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct ShortName {
  const char* text;
  QueryInterval interval;
};

constexpr ShortName SHORT_NAMES[] = {
    {"1m", QueryInterval::OneMinute},      {"2m", QueryInterval::TwoMinutes},
    {"3m", QueryInterval::ThreeMinutes},   {"5m", QueryInterval::FiveMinutes},
    {"6m", QueryInterval::SixMinutes},     {"10m", QueryInterval::TenMinutes},
    {"12m", QueryInterval::TwelveMinutes}, {"15m", QueryInterval::FifteenMinutes},
    {"20m", QueryInterval::TwentyMinutes}, {"30m", QueryInterval::ThirtyMinutes},
    {"1h", QueryInterval::Hour},           {"1d", QueryInterval::Day},
    {"1mo", QueryInterval::Month},         {"all", QueryInterval::FullPeriod},
};

bool IsSameName(const std::string& text, const char* name) {
  return strcasecmp(text.c_str(), name) == 0;
}

}  // namespace

QueryInterval ReadInterval(const std::string& text) {
  for (const auto& [shortName, interval] : SHORT_NAMES) {
    if (IsSameName(text, shortName) || IsSameName(text, QueryIntervalToString(interval))) {
      return interval;
    }
  }
  std::string known;
  std::vector<std::string> words;  // a short name that is near has another number or unit
  for (const auto& [shortName, interval] : SHORT_NAMES) {
    known += (known.empty() ? "" : ", ") + std::string(shortName);
    words.emplace_back(QueryIntervalToString(interval));
  }
  throw UsageError(text, "unknown interval, not one of " + known + SuggestWord(text, words));
}

std::optional<QueryInterval> FindIntervalOfLength(unsigned long seconds) {
  for (const auto& [shortName, interval] : SHORT_NAMES) {
    Date::Date next;
    if (interval <= QueryInterval::Hour) {
      TimeHelper::ComputeNextDate(interval, Date::Date(), next);
      if (static_cast<unsigned long>(next.timestamp) == seconds) {
        return interval;
      }
    }
  }
  return std::nullopt;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
