#include "support/dates.h"
#include "support/local_calendar.h"
#include "support/log_capture.h"
#include "support/random.h"
#include "timeseries/date/time_round_helper.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

using namespace nvx::TimeSeriesDatabase;
using Date::RoundType;
using Date::TimeRoundHelper::RoundBound;

namespace {

constexpr long long DAY = 86400;
constexpr long long YEAR_2038 = 2145916800;

// Weeks, quarters, years and multiples, which QueryInterval does not have, and the starts of the
// day.
std::vector<CalendarInterval> ListIntervals() {
  using Unit = CalendarUnit;
  std::vector<CalendarInterval> intervals = {
      {Unit::Week},    {Unit::Quarter}, {Unit::Year},     {Unit::Year, 3},  {Unit::Day, 2},
      {Unit::Day, 5},  {Unit::Week, 3}, {Unit::Month, 5}, {Unit::Month, 2}, {Unit::Hour, 2},
      {Unit::Hour, 5}, {Unit::Hour, 6}, {Unit::Hour, 24}};
  intervals.push_back({Unit::Week, 1, 0, WeekStart::Sunday});
  intervals.push_back({Unit::Week, 3, 0, WeekStart::Sunday});
  for (const unsigned int start : {1800U, 9000U, 21600U}) {
    for (const Unit unit : {Unit::Day, Unit::Week, Unit::Month, Unit::Quarter, Unit::Year}) {
      intervals.push_back({unit, 1, start});
    }
    intervals.push_back({Unit::Week, 1, start, WeekStart::Sunday});
  }
  return intervals;
}

// Compares the library's calendar with the C library's, around the changes of a zone's clocks.
class ZoneProof {
 public:
  ZoneProof(const std::string& zoneName, Random& chance)
      : zone(zoneName), calendar(zoneName), random(chance) {
    EXPECT_EQ(date.Initialize(0, zone), StatusCode::Success);
  }

  long long Run() {
    RunAround(random.Between(0, YEAR_2038));
    for (const LocalCalendar::Period& period : calendar.Periods()) {
      if (period.begin >= 0 && period.begin < YEAR_2038) {
        RunAround(period.begin);
      }
    }
    return compared;
  }

 private:
  // Half hours, midnights and ends of months, each with its neighbours, and any instants.
  void RunAround(long long change) {
    std::vector<long long> marks;
    for (int i = -4; i <= 4; ++i) {
      marks.push_back(change + i * 1800);
      marks.push_back(calendar.AddDays(change, i / 2));
      marks.push_back(change + random.Between(-2 * 86400, 2 * 86400));
    }
    marks.push_back(calendar.RoundDown(QueryInterval::Month, change));
    marks.push_back(calendar.RoundUp(QueryInterval::Month, change));
    for (const long long mark : marks) {
      for (const int aside : {-60, -1, 0, 1, 60}) {
        CompareAt(mark + aside);
      }
    }
    for (int number = 0; number < 13; ++number) {
      const long long reach = LocalCalendar::Length(QueryInterval(number)) * (number < 12 ? 30 : 6);
      Walk(number, change - random.Between(0, reach), change + random.Between(1, reach));
    }
    // A bound of 1970 may need one of 1969, but not of 1968.
    for (std::size_t number = 0; number < INTERVALS.size(); ++number) {
      CompareBounds(number, std::max(change, 4 * DAY));
    }
  }

  // The bounds around a change, and rounding on both sides of it, of any bound, and anywhere.
  void CompareBounds(std::size_t number, long long change) {
    const CalendarInterval& interval = INTERVALS[number];
    const std::vector<long long> bounds =
        calendar.ListBounds(interval, change - 2 * DAY, change + 2 * DAY);
    const TimeWindow window{At(bounds.front()), At(bounds.back())};
    const int row = static_cast<int>(number);
    Compare("listing", row, change, Calendar::ListBounds(interval, window, listed),
            StatusCode::Success);
    Compare("bounds", row, change, listed.size(), bounds.size());
    for (std::size_t i = 0; i < std::min(listed.size(), bounds.size()); ++i) {
      Compare("bound", row, change, listed[i].timestamp, bounds[i]);
    }
    for (const long long instant : {change - 1, change, change + random.Between(-2, 2) * 1800,
                                    change + random.Between(-2 * DAY, 2 * DAY)}) {
      const auto next = std::upper_bound(bounds.begin(), bounds.end(), instant);
      const long long down = *(next - 1);
      CompareRounding("bound", row, interval, instant, down, down == instant ? instant : *next);
    }
  }

  void CompareRounding(const char* what, int row, const CalendarInterval& interval,
                       long long instant, long long down, long long up) {
    Compare("rounding", row, instant, Calendar::RoundDown(interval, At(instant)),
            StatusCode::Success);
    Compare(what, row, instant, date.timestamp, down);
    Compare("rounding", row, instant, Calendar::RoundUp(interval, At(instant)),
            StatusCode::Success);
    Compare(what, row, instant, date.timestamp, up);
  }

  void CompareAt(long long instant) {
    for (const int count : {0, 1, 14}) {
      At(instant).AddDays(static_cast<unsigned int>(count));
      Compare("AddDays", count, instant, date.timestamp, calendar.AddDays(instant, count));
      At(instant).AddMonths(static_cast<unsigned int>(count));
      Compare("AddMonths", count, instant, date.timestamp, calendar.AddMonths(instant, count));
    }
    Compare("IsFirstHourOfDay", 0, instant, Date::Date::IsFirstHourOfDay(At(instant)),
            calendar.IsFirstHourOfDay(instant));
    for (int number = 0; number < 14; ++number) {
      const QueryInterval interval{static_cast<unsigned char>(number)};
      CompareRounding("as a calendar's", number, ToCalendarInterval(interval), instant,
                      calendar.RoundDown(interval, instant), calendar.RoundUp(interval, instant));
      RoundBound(interval, RoundType::Up, At(instant));
      Compare("up", number, instant, date.timestamp, calendar.RoundUp(interval, instant));
      RoundBound(interval, RoundType::Down, At(instant));
      const long long down = date.timestamp;
      Compare("down", number, instant, down, calendar.RoundDown(interval, instant));
      Compare("down, not later", number, instant, std::min(down, instant), down);
      if (interval >= QueryInterval::Hour) {
        RoundBound(interval, RoundType::Down, date);
        Compare("down twice", number, instant, date.timestamp, down);
      }
      if (interval != QueryInterval::FullPeriod) {
        TimeHelper::ComputeNextDate(interval, At(instant), date);
        Compare("next", number, instant, date.timestamp, calendar.Next(interval, instant));
        Date::Date next;
        Compare("stepping", number, instant,
                Calendar::ComputeNextDate(ToCalendarInterval(interval), At(instant), next),
                StatusCode::Success);
        Compare("next as a calendar's", number, instant, next.timestamp,
                calendar.Next(interval, instant));
      }
    }
  }

  // The intervals of a window follow each other without a gap from its adjusted start to exactly
  // its adjusted end. The walk misses the end only when the clocks change by a part of an interval.
  void Walk(int number, long long start, long long end) {
    const QueryInterval interval{static_cast<unsigned char>(number)};
    const long long first = calendar.RoundUp(interval, start);
    const long long last = calendar.RoundDown(interval, end);
    const bool hasAny = first < last;
    TimeWindow window{At(start), At(end)};
    const StatusCode adjusted = TimeWindowHelper::AdjustTimeWindow(
        interval, TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, window);
    Compare("adjusting", number, start, adjusted,
            hasAny ? StatusCode::Success : StatusCode::InvalidArgument);
    Compare("adjusted start", number, start, window.start.timestamp, hasAny ? first : start);
    Compare("adjusted end", number, end, window.end.timestamp, hasAny ? last : end);
    if (!hasAny) {
      return;
    }
    Rrd::IntervalIterator iterator(window, nullptr, 1, interval, 0);
    StatusCode rc = iterator.Initialize();
    long long expected = first;
    for (; rc == StatusCode::Success; rc = iterator.GoToNextInterval()) {
      const double* ignored = nullptr;
      iterator.GetCurrentInterval(ignored, ignored, date);
      Compare("walk", number, start, date.timestamp, expected);
      expected = calendar.Next(interval, expected);
      Compare("walk forward", number, start, std::max(expected, date.timestamp + 1), expected);
    }
    const bool isWhole =
        interval >= QueryInterval::Day || (last - first) % LocalCalendar::Length(interval) == 0;
    Compare("end of walk", number, start, rc,
            isWhole ? StatusCode::EndOfIteration : StatusCode::OutOfRange);
    Compare("last of walk", number, start, isWhole ? expected : last, last);
  }

  Date::Date& At(long long instant) {
    date.timestamp = instant;
    return date;
  }

  template <typename Value>
  void Compare(const char* what, int number, long long from, Value actual, Value expected) {
    ++compared;
    if (actual != expected && !testing::Test::HasFailure()) {
      ADD_FAILURE() << what << ' ' << number << " from " << from << " in " << zone << " gives "
                    << testing::PrintToString(actual) << " instead of "
                    << testing::PrintToString(expected);
    }
  }

  static const std::vector<CalendarInterval> INTERVALS;

  const std::string zone;
  const LocalCalendar calendar;
  Random& random;
  Date::Date date;
  std::vector<Date::Date> listed;
  long long compared = 0;
};

const std::vector<CalendarInterval> ZoneProof::INTERVALS = ListIntervals();

TEST(Calendar, IsThatOfTheCLibraryAroundEveryChangeOfTheClocks) {
  LogCapture log(2);
  Random random;
  const std::vector<std::string> zones = ListZones();
  ASSERT_GT(zones.size(), 300U);
  long long compared = 0;
  for (const std::string& zone : zones) {
    if (IS_SLOW == 0 || random.Between(1, 8) == 1) {
      compared += ZoneProof(zone, random).Run();
    }
    ASSERT_FALSE(HasFailure());
  }
  std::cout << compared << " values compared\n";
}

}  // namespace
