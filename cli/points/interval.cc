#include "points/interval.h"

#include "base/command_error.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::optional<QueryInterval> FindQueryInterval(const CalendarInterval& interval) {
  for (auto value = static_cast<unsigned char>(QueryInterval::OneMinute);
       value <= static_cast<unsigned char>(QueryInterval::FullPeriod); ++value) {
    const CalendarInterval known = ToCalendarInterval(static_cast<QueryInterval>(value));
    if (known.unit == interval.unit && known.count == interval.count && interval.dayStart == 0) {
      return static_cast<QueryInterval>(value);
    }
  }
  return std::nullopt;
}

void RequireValid(StatusCode status) { Require(status, "--interval", "has no bounds"); }

}  // namespace

Interval::Interval(const CalendarInterval& calendarInterval)
    : calendar(calendarInterval), query(FindQueryInterval(calendar)) {}

Date::Date Interval::ComputeNext(const Date::Date& from) const {
  Date::Date next;
  if (query) {
    TimeHelper::ComputeNextDate(*query, from, next);
  } else {
    RequireValid(Calendar::ComputeNextDate(calendar, from, next));
  }
  return next;
}

Date::Date Interval::RoundDown(Date::Date date) const {
  RequireValid(Calendar::RoundDown(calendar, date));
  return date;
}

Date::Date Interval::RoundUp(Date::Date date) const {
  RequireValid(Calendar::RoundUp(calendar, date));
  return date;
}

std::string Interval::Identify() const {
  if (query) {
    return QueryIntervalToString(*query);
  }
  constexpr const char* UNITS[] = {"Minute", "Hour", "Day", "Week", "Month", "Quarter", "Year"};
  const bool isOfSunday =
      calendar.unit == CalendarUnit::Week && calendar.weekStart == WeekStart::Sunday;
  return std::to_string(calendar.count) + ' ' + UNITS[static_cast<std::size_t>(calendar.unit)] +
         " from " + std::to_string(calendar.dayStart) + (isOfSunday ? " Sunday" : "");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
