#include "time/calendar_grid.h"

#include "time/civil.h"

namespace nvx::TimeSeriesDatabase {
namespace {

const cctz::civil_day FIRST_MONDAY(1970, 1, 5);
const cctz::civil_month FIRST_MONTH(1970, 1);
constexpr long long HOURS_PER_DAY = 24;
constexpr long long DAYS_PER_WEEK = 7;
constexpr long long MONTHS_PER_QUARTER = 3;
constexpr long long MONTHS_PER_YEAR = 12;

long long DivideDown(long long number, long long divisor) {
  return number / divisor - (number % divisor < 0 ? 1 : 0);
}

long long GetIntervalsPerDay(long long hours) { return (HOURS_PER_DAY + hours - 1) / hours; }

}  // namespace

CalendarGrid::CalendarGrid(const CalendarInterval& interval)
    : length(interval.count), dayStart(interval.dayStart), firstDay(FIRST_MONDAY) {
  switch (interval.unit) {
    case CalendarUnit::Day:
      base = Base::Days;
      break;
    case CalendarUnit::Week:
      base = Base::Days;
      length *= DAYS_PER_WEEK;
      firstDay -= interval.weekStart == WeekStart::Sunday ? 1 : 0;
      break;
    case CalendarUnit::Month:
      base = Base::Months;
      break;
    case CalendarUnit::Quarter:
      base = Base::Months;
      length *= MONTHS_PER_QUARTER;
      break;
    case CalendarUnit::Year:
      base = Base::Months;
      length *= MONTHS_PER_YEAR;
      break;
    default:
      break;
  }
}

long long CalendarGrid::FindLast(const Date::Date& date) const {
  return GetInstant(FindPlace(date).number, date.timeZone);
}

long long CalendarGrid::FindNext(const Date::Date& date) const { return FindPlace(date).next; }

CalendarGrid::Place CalendarGrid::FindPlace(const Date::Date& date) const {
  long long number = FindNumber(Date::ToLocal(date));
  long long next = GetInstant(number + 1, date.timeZone);
  // After a bound, clocks that go back show the times before it again.
  while (next < date.timestamp) {
    ++number;
    next = GetInstant(number + 1, date.timeZone);
  }
  return {number, next};
}

long long CalendarGrid::FindNumber(const cctz::civil_second& local) const {
  if (base == Base::Hours) {
    const long long day = cctz::civil_day(local) - firstDay;
    return day * GetIntervalsPerDay(length) + local.hour() / length;
  }
  const cctz::civil_second sinceStart = local - dayStart;
  return base == Base::Days ? DivideDown(cctz::civil_day(sinceStart) - firstDay, length)
                            : DivideDown(cctz::civil_month(sinceStart) - FIRST_MONTH, length);
}

long long CalendarGrid::GetInstant(long long number, const cctz::time_zone& timeZone) const {
  return Date::ToTimestamp(GetBound(number), timeZone);
}

cctz::civil_second CalendarGrid::GetBound(long long number) const {
  if (base == Base::Hours) {
    const long long day = DivideDown(number, GetIntervalsPerDay(length));
    const long long hour = (number - day * GetIntervalsPerDay(length)) * length;
    return cctz::civil_hour(firstDay + day) + hour;
  }
  const cctz::civil_second midnight = base == Base::Days
                                          ? cctz::civil_second(firstDay + number * length)
                                          : cctz::civil_second(FIRST_MONTH + number * length);
  return midnight + dayStart;
}

}  // namespace nvx::TimeSeriesDatabase
