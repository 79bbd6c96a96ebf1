#pragma once

#include <cctz/civil_time.h>

#include "timeseries/calendar.h"
#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase {

// The bounds of an interval of several hours or longer: local times, numbered in their order. Not
// for intervals of QueryInterval, which are stepped in another way.
class CalendarGrid {
 public:
  explicit CalendarGrid(const CalendarInterval& interval);

  // The last bound that is not later than a date, and the first that is later, as instants.
  long long FindLast(const Date::Date& date) const;
  long long FindNext(const Date::Date& date) const;

 private:
  enum class Base { Hours, Days, Months };

  // Where a date lies.
  struct Place {
    long long number;  // of the last bound that is not later
    long long next;    // the instant of the bound after it
  };

  Place FindPlace(const Date::Date& date) const;
  long long FindNumber(const cctz::civil_second& local) const;
  long long GetInstant(long long number, const cctz::time_zone& timeZone) const;
  cctz::civil_second GetBound(long long number) const;

  Base base = Base::Hours;
  long long length = 0;  // of an interval, in units of the base
  long long dayStart = 0;
  cctz::civil_day firstDay;
};

}  // namespace nvx::TimeSeriesDatabase
