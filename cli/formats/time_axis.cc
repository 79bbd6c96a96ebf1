#include "formats/time_axis.h"

#include <cctz/civil_time.h>

#include "points/interval.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using Instant = cctz::time_point<cctz::seconds>;

constexpr int MINUTES_AN_HOUR = 60;
constexpr long long SECONDS_A_DAY = 86400;
constexpr long long SECONDS_A_YEAR = 360 * SECONDS_A_DAY;  // about, as those of other spacings

// The distance between ticks; of years only every so many.
struct Spacing {
  CalendarInterval interval;
  long long seconds;
  int years = 1;
};

Spacing ChooseSpacing(long long span, std::size_t maximumCount) {
  using Unit = CalendarUnit;
  static const Spacing SPACINGS[] = {
      {{Unit::Minute, 1}, 60},
      {{Unit::Minute, 2}, 120},
      {{Unit::Minute, 5}, 300},
      {{Unit::Minute, 10}, 600},
      {{Unit::Minute, 15}, 900},
      {{Unit::Minute, 30}, 1800},
      {{Unit::Hour, 1}, 3600},
      {{Unit::Hour, 2}, 7200},
      {{Unit::Hour, 3}, 10800},
      {{Unit::Hour, 6}, 21600},
      {{Unit::Hour, 12}, 43200},
      {{Unit::Day, 1}, SECONDS_A_DAY},
      {{Unit::Day, 2}, 2 * SECONDS_A_DAY},
      {{Unit::Week, 1}, 7 * SECONDS_A_DAY},
      {{Unit::Week, 2}, 14 * SECONDS_A_DAY},
      {{Unit::Month, 1}, 30 * SECONDS_A_DAY},
      {{Unit::Month, 2}, 60 * SECONDS_A_DAY},
      {{Unit::Quarter, 1}, 90 * SECONDS_A_DAY},
      {{Unit::Quarter, 2}, 180 * SECONDS_A_DAY},
  };
  const long long least = span / static_cast<long long>(maximumCount + 1);
  for (const Spacing& spacing : SPACINGS) {
    if (spacing.seconds > least) {
      return spacing;
    }
  }
  int years = 1;
  for (int factor = 2; years * SECONDS_A_YEAR <= least; factor = factor == 2 ? 5 : 2) {
    years *= factor;
  }
  return {{Unit::Year, 1}, SECONDS_A_YEAR, years};
}

// The tick after one. It lies on a bound of the local time, whatever the clocks did in between.
Date::Date GetNext(const Date::Date& tick, const Interval& interval) {
  const Date::Date next = interval.ComputeNext(tick);
  const Date::Date bound = interval.RoundDown(next);
  return bound.timestamp > tick.timestamp ? bound : next;
}

std::string MakeLabel(const Date::Date& tick, CalendarUnit unit) {
  const Instant instant{cctz::seconds(tick.timestamp)};
  const cctz::civil_second local = cctz::convert(instant, tick.timeZone);
  const bool isOfHours =
      unit <= CalendarUnit::Hour && local != cctz::civil_second(cctz::civil_day(local));
  const char* const form = unit == CalendarUnit::Year    ? "%Y"
                           : unit >= CalendarUnit::Month ? "%Y-%m"
                           : isOfHours                   ? "%H:%M"
                                                         : "%m-%d";
  return cctz::format(form, instant, tick.timeZone);
}

bool IsOfYears(const Date::Date& tick, int years) {
  const Instant instant{cctz::seconds(tick.timestamp)};
  return cctz::convert(instant, tick.timeZone).year() % years == 0;
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
  const Interval interval(spacing.interval);
  Date::Date tick;
  tick.timestamp = first;
  tick.timeZone = zone;
  std::vector<Tick> ticks;
  for (tick = interval.RoundDown(tick); tick.timestamp <= last; tick = GetNext(tick, interval)) {
    if (tick.timestamp >= first && IsOfYears(tick, spacing.years)) {
      ticks.push_back({tick.timestamp, MakeLabel(tick, spacing.interval.unit)});
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
