#include "formats/time_axis.h"

#include <cctz/civil_time.h>

#include <chrono>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using Instant = cctz::time_point<cctz::seconds>;

constexpr int MINUTES_AN_HOUR = 60;
constexpr int MONTHS_A_YEAR = 12;
constexpr long long SECONDS_A_DAY = 86400;
constexpr long long SECONDS_A_MONTH = 30 * SECONDS_A_DAY;  // about

enum class Unit { Minute, Day, Month };

// The distance between ticks: minutes that divide a day, months that divide a year, or whole years.
struct Spacing {
  Unit unit;
  int count;

  long long GetSeconds() const {
    switch (unit) {
      case Unit::Minute:
        return count * 60LL;
      case Unit::Day:
        return count * SECONDS_A_DAY;
      case Unit::Month:
        break;
    }
    return count * SECONDS_A_MONTH;
  }
};

Spacing ChooseSpacing(long long span, std::size_t maximumCount) {
  constexpr Spacing SPACINGS[] = {
      {Unit::Minute, 1},   {Unit::Minute, 2},   {Unit::Minute, 5},   {Unit::Minute, 10},
      {Unit::Minute, 15},  {Unit::Minute, 30},  {Unit::Minute, 60},  {Unit::Minute, 120},
      {Unit::Minute, 180}, {Unit::Minute, 360}, {Unit::Minute, 720}, {Unit::Day, 1},
      {Unit::Day, 2},      {Unit::Day, 7},      {Unit::Day, 14},     {Unit::Month, 1},
      {Unit::Month, 2},    {Unit::Month, 3},    {Unit::Month, 6},
  };
  const long long least = span / static_cast<long long>(maximumCount + 1);
  for (const Spacing& spacing : SPACINGS) {
    if (spacing.GetSeconds() > least) {
      return spacing;
    }
  }
  Spacing years{Unit::Month, MONTHS_A_YEAR};
  for (int factor = 2; years.GetSeconds() <= least; factor = factor == 2 ? 5 : 2) {
    years.count *= factor;
  }
  return years;
}

// The last bound that is not after `local`.
cctz::civil_second RoundDown(const cctz::civil_second& local, const Spacing& spacing) {
  switch (spacing.unit) {
    case Unit::Minute: {
      const int minutes = local.hour() * MINUTES_AN_HOUR + local.minute();
      return cctz::civil_minute(cctz::civil_day(local)) + minutes - minutes % spacing.count;
    }
    case Unit::Day: {
      const cctz::civil_day day(local);
      const cctz::civil_day monday(1, 1, 1);
      return day - (day - monday) % spacing.count;
    }
    case Unit::Month:
      break;
  }
  const cctz::civil_month month(local);
  const cctz::civil_month january(0, 1);
  return month - (month - january) % spacing.count;
}

cctz::civil_second GetNextBound(const cctz::civil_second& bound, const Spacing& spacing) {
  switch (spacing.unit) {
    case Unit::Minute:
      return cctz::civil_minute(bound) + spacing.count;
    case Unit::Day:
      return cctz::civil_day(bound) + spacing.count;
    case Unit::Month:
      break;
  }
  return cctz::civil_month(bound) + spacing.count;
}

// The tick after one. Minutes continue through an hour that the clocks repeat.
Instant GetNext(Instant tick, const Spacing& spacing, const cctz::time_zone& zone) {
  if (spacing.unit != Unit::Minute) {
    const cctz::civil_second bound = RoundDown(cctz::convert(tick, zone), spacing);
    return cctz::convert(GetNextBound(bound, spacing), zone);
  }
  const Instant ahead = tick + std::chrono::minutes(spacing.count);
  const cctz::civil_second local = cctz::convert(ahead, zone);
  const cctz::civil_second bound = RoundDown(local, spacing);
  if (bound == local) {
    return ahead;
  }
  const Instant next = cctz::convert(bound, zone);
  return next > tick ? next : cctz::convert(GetNextBound(bound, spacing), zone);
}

std::string MakeLabel(Instant instant, const Spacing& spacing, const cctz::time_zone& zone) {
  const bool isOfYears = spacing.unit == Unit::Month && spacing.count % MONTHS_A_YEAR == 0;
  const cctz::civil_second local = cctz::convert(instant, zone);
  const bool isOfHours =
      spacing.unit == Unit::Minute && local != cctz::civil_second(cctz::civil_day(local));
  const char* const form = isOfYears                     ? "%Y"
                           : spacing.unit == Unit::Month ? "%Y-%m"
                           : isOfHours                   ? "%H:%M"
                                                         : "%m-%d";
  return cctz::format(form, instant, zone);
}

std::string FormatChange(const cctz::time_zone::civil_transition& change) {
  const long long minutes = (change.to - change.from) / 60;
  const bool isHours = minutes % MINUTES_AN_HOUR == 0;
  return (minutes > 0 ? "+" : "") + std::to_string(isHours ? minutes / MINUTES_AN_HOUR : minutes) +
         (isHours ? " h" : " min");
}

}  // namespace

std::vector<Tick> ListTicks(long long first, long long last, const cctz::time_zone& zone,
                            std::size_t maximumCount) {
  const Spacing spacing = ChooseSpacing(last - first, maximumCount);
  const Instant begin{cctz::seconds(first)};
  const Instant end{cctz::seconds(last)};
  Instant instant = cctz::convert(RoundDown(cctz::convert(begin, zone), spacing), zone);
  std::vector<Tick> ticks;
  for (; instant <= end; instant = GetNext(instant, spacing, zone)) {
    if (instant >= begin) {
      ticks.push_back({instant.time_since_epoch().count(), MakeLabel(instant, spacing, zone)});
    }
  }
  return ticks;
}

std::vector<Tick> ListClockChanges(long long first, long long last, const cctz::time_zone& zone) {
  constexpr std::size_t MAXIMUM_COUNT = 6;
  std::vector<Tick> changes;
  Instant instant{cctz::seconds(first)};
  cctz::time_zone::civil_transition change;
  while (changes.size() <= MAXIMUM_COUNT && zone.next_transition(instant, &change)) {
    instant = zone.lookup(change.to).trans;
    const long long timestamp = instant.time_since_epoch().count();
    if (timestamp > last) {
      break;
    }
    if (change.to != change.from) {
      changes.push_back({timestamp, FormatChange(change)});
    }
  }
  return changes.size() <= MAXIMUM_COUNT ? changes : std::vector<Tick>();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
