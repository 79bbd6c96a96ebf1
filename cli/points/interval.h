#pragma once

#include <optional>
#include <string>

#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// An interval that is asked for, of which the library is known to have it as a QueryInterval or
// not: steps of that are the fastest.
class Interval {
 public:
  // The interval must be valid.
  explicit Interval(const CalendarInterval& calendarInterval);

  const CalendarInterval& GetCalendar() const { return calendar; }

  // The same one, when there is one.
  const std::optional<QueryInterval>& GetQueryInterval() const { return query; }

  // Whether it is the whole window.
  bool IsWhole() const { return calendar.unit == CalendarUnit::FullPeriod; }

  // Whether its length in seconds is always the same, whatever the clocks show.
  bool IsFixed() const { return query && *query <= QueryInterval::Hour; }

  // The next bound. Not of the whole window.
  Date::Date ComputeNext(const Date::Date& from) const;

  // The last bound that is not later, and the first that is not earlier.
  Date::Date RoundDown(Date::Date date) const;
  Date::Date RoundUp(Date::Date date) const;

  // A text that tells it from all others.
  std::string Identify() const;

 private:
  CalendarInterval calendar;
  std::optional<QueryInterval> query;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
