#include "timeseries/calendar.h"

#include <limits>
#include <sstream>

#include "support/dates.h"
#include "support/log_capture.h"
#include "support/table.h"

using namespace nvx::TimeSeriesDatabase;
using Unit = CalendarUnit;

namespace {

const std::string COMPONENT = "[TimeSeriesDatabase::Calendar] ";

CalendarInterval ReadInterval(const Row& row) {
  static const std::map<std::string, Unit> UNITS = {
      {"Hour", Unit::Hour},   {"Day", Unit::Day},         {"Week", Unit::Week},
      {"Month", Unit::Month}, {"Quarter", Unit::Quarter}, {"Year", Unit::Year}};
  CalendarInterval interval;
  std::string unit;
  std::istringstream(row["interval"]) >> interval.count >> unit;
  interval.unit = UNITS.at(unit.substr(0, unit.find(',')));
  interval.dayStart = row.GetNumber<unsigned int>("day start");
  if (row["interval"].find("Sunday") != std::string::npos) {
    interval.weekStart = WeekStart::Sunday;
  }
  return interval;
}

TEST(Calendar, FindsTheBoundsOfAnInterval) {
  ForEachRow("calendar_bounds.txt", [](const Row& row) {
    const CalendarInterval interval = ReadInterval(row);
    const Date::Date from = Window(ToSeconds(row["date"]), 0, row["zone"]).start;
    std::vector<std::string> expected = SplitFields(row["bounds"], ' ');

    Date::Date date = from;
    EXPECT_EQ(Calendar::RoundDown(interval, date), StatusCode::Success);
    TimeWindow window{date, date};
    EXPECT_EQ(ToShortText(date), expected[0]);
    date = from;
    EXPECT_EQ(Calendar::RoundUp(interval, date), StatusCode::Success);
    EXPECT_EQ(ToShortText(date), expected[from.timestamp == window.start.timestamp ? 0 : 1]);

    for (std::size_t i = 1; i < expected.size(); ++i) {
      EXPECT_EQ(Calendar::ComputeNextDate(interval, window.end, window.end), StatusCode::Success);
      EXPECT_EQ(ToShortText(window.end), expected[i]);
    }
    std::vector<Date::Date> bounds(9);
    EXPECT_EQ(Calendar::ListBounds(interval, window, bounds), StatusCode::Success);
    ASSERT_EQ(bounds.size(), expected.size());
    for (std::size_t i = 0; i < bounds.size(); ++i) {
      EXPECT_EQ(ToShortText(bounds[i]), expected[i]);
    }
  });
}

TEST(Calendar, TakesAFullPeriodForTheWindowItself) {
  LogCapture log(3);
  const CalendarInterval full = ToCalendarInterval(QueryInterval::FullPeriod);
  const TimeWindow window = Window(7, 99);
  std::vector<Date::Date> bounds;
  EXPECT_EQ(Calendar::ListBounds(full, window, bounds), StatusCode::Success);
  EXPECT_TRUE(bounds.size() == 2 && bounds[0].timestamp == 7 && bounds[1].timestamp == 99);
  EXPECT_TRUE(log.Take().empty());
  Date::Date next = window.start;
  EXPECT_EQ(Calendar::ComputeNextDate(full, window.end, next), StatusCode::InvalidArgument);
  EXPECT_EQ(next.timestamp, 7);
}

TEST(Calendar, RefusesInvalidIntervals) {
  const std::pair<CalendarInterval, std::string> cases[] = {
      {{Unit(8)}, "unknown unit or start of the week"},
      {{Unit::Week, 1, 0, WeekStart(2)}, "unknown unit or start of the week"},
      {{Unit::Year, 0}, "the count is 0"},
      {ToCalendarInterval(QueryInterval(14)), "the count is 0"},
      {{Unit::Day, 1, 86400}, "no day begins that late"},
      {{Unit::Hour, 6, 60}, "only a day and what consists of days can begin at another time"},
      {{Unit::FullPeriod, 1, 1}, "only a day and what consists of days can begin at another time"},
      {{Unit::Hour, 25}, "more hours than a day has"},
      {{Unit::Minute, 7}, "the unit does not have this count"},
      {{Unit::Minute, 60}, "the unit does not have this count"},
      {{Unit::FullPeriod, 2}, "the unit does not have this count"},
  };
  const TimeWindow window = Window(0, 9 * 86400);
  for (const auto& [interval, fault] : cases) {
    LogCapture log(3);
    EXPECT_EQ(interval.IsValid(), StatusCode::InvalidArgument);
    const Lines lines = log.Take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].find("3" + COMPONENT + "Interval is invalid: " + fault + ", unit="), 0u)
        << lines[0];

    TimeWindow adjusted = window;
    std::vector<Date::Date> bounds(3);
    EXPECT_EQ(Calendar::RoundDown(interval, adjusted.end), StatusCode::InvalidArgument);
    EXPECT_EQ(Calendar::RoundUp(interval, adjusted.end), StatusCode::InvalidArgument);
    EXPECT_EQ(Calendar::ComputeNextDate(interval, adjusted.start, adjusted.end),
              StatusCode::InvalidArgument);
    EXPECT_EQ(Calendar::AdjustTimeWindow(interval, adjusted), StatusCode::InvalidArgument);
    EXPECT_EQ(Calendar::ListBounds(interval, window, bounds), StatusCode::InvalidArgument);
    EXPECT_TRUE(adjusted.end.timestamp == window.end.timestamp && bounds.size() == 3);
  }
}

TEST(Calendar, ShrinksAWindowToItsCompleteIntervals) {
  const CalendarInterval week{Unit::Week};
  const long long monday = ToSeconds("2024-02-12T00:00:00+01:00");
  TimeWindow window = Window(monday - 5, monday + 8 * 86400, "Europe/Paris");
  EXPECT_EQ(Calendar::AdjustTimeWindow(week, window), StatusCode::Success);
  EXPECT_EQ(window.start.timestamp, monday);
  EXPECT_EQ(window.end.timestamp, monday + 7 * 86400);
  EXPECT_EQ(Calendar::AdjustTimeWindow(week, window), StatusCode::Success);
  EXPECT_EQ(window.end.timestamp, monday + 7 * 86400);

  LogCapture log(6);
  window.start.timestamp += 1;
  EXPECT_EQ(Calendar::AdjustTimeWindow(week, window), StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take().back(), "6" + COMPONENT +
                                   "AdjustTimeWindow: There is no complete interval in the time "
                                   "window [" +
                                   TimeWindowToString(window) + "]");
  window.end.timestamp = 0;
  EXPECT_EQ(Calendar::AdjustTimeWindow(week, window), StatusCode::InvalidArgument);
  EXPECT_EQ(window.start.timestamp, monday + 1);
}

TEST(Calendar, ListsTheBoundsUpToAnEndWithinAnInterval) {
  LogCapture log(3);
  std::vector<Date::Date> bounds;
  const TimeWindow days = Window(0, 5 * 86400);
  EXPECT_EQ(Calendar::ListBounds({Unit::Day, 2}, days, bounds), StatusCode::OutOfRange);
  ASSERT_EQ(bounds.size(), 3u);  // from the window's start, wherever it is
  EXPECT_EQ(bounds[2].timestamp, 4 * 86400);
  EXPECT_EQ(log.Take(), Lines{"3" + COMPONENT +
                              "ListBounds: No interval from [345600] ends in the "
                              "time window [" +
                              TimeWindowToString(days) + "]"});

  // Clocks change by half an hour, which single hours do not follow.
  const TimeWindow change = Window(ToSeconds("2024-04-06T23:00:00+11:00"),
                                   ToSeconds("2024-04-07T04:00:00+10:30"), "Australia/Lord_Howe");
  const CalendarInterval hour = ToCalendarInterval(QueryInterval::Hour);
  EXPECT_EQ(Calendar::ListBounds(hour, change, bounds), StatusCode::OutOfRange);
  EXPECT_EQ(bounds.size(), 6u);
  EXPECT_EQ(Calendar::ListBounds({Unit::Day}, Window(5, 1), bounds), StatusCode::InvalidArgument);
  EXPECT_EQ(bounds.size(), 6u);
}

TEST(Calendar, StaysAtTheEndsOfTime) {
  LogCapture log(2);
  using Limits = std::numeric_limits<long long>;
  const unsigned int most = std::numeric_limits<unsigned int>::max();
  for (const long long end : {Limits::min(), Limits::max()}) {
    for (const CalendarInterval& interval :
         {CalendarInterval{Unit::Hour, 5}, CalendarInterval{Unit::Day, most, 86399},
          CalendarInterval{Unit::Week, 1, 9000}, CalendarInterval{Unit::Week, most},
          CalendarInterval{Unit::Quarter}, CalendarInterval{Unit::Year, most, 86399}}) {
      Date::Date down = Window(end, 0, "Europe/Paris").start;
      Date::Date up = down;
      EXPECT_EQ(Calendar::RoundDown(interval, down), StatusCode::Success);
      EXPECT_EQ(Calendar::RoundUp(interval, up), StatusCode::Success);
      EXPECT_TRUE(down.timestamp < 0 || end > 0);
      EXPECT_TRUE(up.timestamp >= end);
      std::vector<Date::Date> bounds;
      EXPECT_EQ(
          Calendar::ListBounds(interval, Window(Limits::max() - 9, Limits::max() - 1), bounds),
          StatusCode::OutOfRange);
    }
  }
}

}  // namespace
