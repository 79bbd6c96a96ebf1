#pragma once

#include <vector>

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/query_interval.h"
#include "timeseries/status_code.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase {

enum class CalendarUnit : unsigned char {
  Minute = 0,
  Hour,
  Day,
  Week,
  Month,
  Quarter,
  Year,
  FullPeriod,  // the whole window as one interval
};

enum class WeekStart : unsigned char {
  Monday = 0,
  Sunday,
};

// An interval of the local calendar: one unit or several. A day may begin at another time than
// midnight. These are the intervals, and where they begin:
//
//   unit        counts                     begins
//   Minute      those of QueryInterval     every `count` minutes of the local hour
//   Hour        1 to 24                    every `count` hours of the local day, at midnight first
//   Day, Week   any but 0                  counted from Monday, 5 January 1970; weeks that begin on
//                                          a Sunday, from 4 January 1970
//   Month, Quarter, Year  any but 0        counted from January 1970
//   FullPeriod  1                          with the window
//
// Each bound is a local time. Where the clocks skip it, the bound is the first instant after the
// gap; where they show it twice, the first time, as Date has it. So an interval is longer or
// shorter than others when the clocks change within it. In Europe/Paris, where 2021-03-28 has 23
// hours and 2021-10-31 has 25:
//
//   6 hours     2021-03-28T00:00+01:00, 06:00+02:00 (5 hours later), 12:00, 18:00
//   2 hours     2021-03-28T00:00+01:00, 03:00+02:00 for the skipped 02:00, 04:00+02:00
//   2 hours     2021-10-31T02:00+02:00, 04:00+01:00 (3 hours later)
//   5 hours     00:00, 05:00, 10:00, 15:00, 20:00 (4 hours, up to midnight)
//   2 days      2023-12-31, 2024-01-02, 2024-01-04: through months and years
//   2 weeks     2023-12-25, 2024-01-08
//   2 months    January, March, May ... of each year
//   5 months    2023-10-01, 2024-03-01, 2024-08-01: other counts than those that divide 12 run on
//               from one year to the next
//   a day from 02:30     2021-03-27T02:30+01:00, 2021-03-28T03:00+02:00, 2021-03-29T02:30+02:00
//   a quarter from 06:00 2024-01-01T06:00+01:00, 2024-04-01T06:00+02:00
//
// An interval that QueryInterval has, too, behaves the same: it is rounded as by TimeRoundHelper
// and stepped as by TimeHelper::ComputeNextDate. So a single hour always lasts 3600 seconds; only
// several hours follow the clocks.
struct NVX_TIMESERIES_EXPORT CalendarInterval {
  CalendarUnit unit = CalendarUnit::Day;
  unsigned int count = 1;
  unsigned int dayStart = 0;  // local time at which a day begins, in seconds after 00:00
  WeekStart weekStart = WeekStart::Monday;  // of a Week; no other unit looks at it

  // InvalidArgument, with a line in the log that says why, for a value outside its enumeration, a
  // count that the unit does not have, a start of the day after 23:59:59, or any start of the day
  // with minutes, hours or FullPeriod.
  StatusCode IsValid() const;
};

// The same interval. For a value outside the enumeration, one that is not valid.
NVX_TIMESERIES_EXPORT CalendarInterval ToCalendarInterval(QueryInterval interval);

// Bounds of intervals of the calendar, in the zone of the dates that are given. All operations
// return InvalidArgument for an interval that is not valid, and then change nothing.
namespace Calendar {

// Move `date` to the last bound that is not later, or to the first that is not earlier. A date on a
// bound stays. QueryInterval's own intervals have the exceptions that Date names, and FullPeriod is
// rounded like an hour.
NVX_TIMESERIES_EXPORT StatusCode RoundDown(const CalendarInterval& interval, Date::Date& date);
NVX_TIMESERIES_EXPORT StatusCode RoundUp(const CalendarInterval& interval, Date::Date& date);

// Sets `next` to the first bound after `from`; for QueryInterval's own intervals, to one interval
// after `from`. InvalidArgument, with `next` unchanged, for FullPeriod.
NVX_TIMESERIES_EXPORT StatusCode ComputeNextDate(const CalendarInterval& interval,
                                                 const Date::Date& from, Date::Date& next);

// Shrinks `window` to the complete intervals that lie in it. InvalidArgument, with `window`
// unchanged, when it is not valid or has none.
NVX_TIMESERIES_EXPORT StatusCode AdjustTimeWindow(const CalendarInterval& interval,
                                                  TimeWindow& window);

// Sets `bounds` to the window's start and each next date up to the window's end, as
// NumericalDataSource::Fetch takes them. For FullPeriod they are the start and the end.
//
//   code             bounds                    when
//   Success          all                       the last one is the window's end
//   OutOfRange       those before the end      the window ends within an interval
//   InvalidArgument  unchanged                 the interval or the window is not valid
NVX_TIMESERIES_EXPORT StatusCode ListBounds(const CalendarInterval& interval,
                                            const TimeWindow& window,
                                            std::vector<Date::Date>& bounds);

}  // namespace Calendar
}  // namespace nvx::TimeSeriesDatabase
