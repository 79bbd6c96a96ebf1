#include "timeseries/time_window.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "timeseries/query_interval.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

// 2024-03-31 is the day of 23 hours in Paris.
constexpr long long PARIS_DAY = 1711839600;  // 2024-03-31T00:00:00+01:00
constexpr long long HOUR = 3600;
const std::string HELPER = "[TimeSeriesDatabase::TimeWindowHelper] ";

TimeWindow Window(long long start, long long end, const std::string& zone = "Europe/Paris",
                  const std::string& endZone = "") {
  TimeWindow window;
  EXPECT_EQ(window.start.Initialize(start, zone), StatusCode::Success);
  EXPECT_EQ(window.end.Initialize(end, endZone.empty() ? zone : endZone), StatusCode::Success);
  return window;
}

TEST(QueryInterval, TextsAndOrder) {
  const char* const names[] = {"OneMinute",
                               "TwoMinutes",
                               "ThreeMinutes",
                               "FiveMinutes",
                               "SixMinutes",
                               "TenMinutes",
                               "TwelveMinutes",
                               "FifteenMinutes",
                               "TwentyMinutes",
                               "ThirtyMinutes",
                               "Hour",
                               "Day",
                               "Month",
                               "FullPeriod",
                               "",
                               ""};
  for (unsigned char left = 0; left < 16; ++left) {
    const QueryInterval lhs{left};
    EXPECT_STREQ(QueryIntervalToString(lhs), names[left]);
    for (unsigned char right = 0; right < 16; ++right) {
      const QueryInterval rhs{right};
      const int leftRank = left < 14 ? left : -1;
      const int rightRank = right < 14 ? right : -1;
      EXPECT_EQ(lhs < rhs, leftRank < rightRank);
      EXPECT_EQ(lhs > rhs, leftRank > rightRank);
      EXPECT_EQ(lhs <= rhs, leftRank <= rightRank);
    }
  }
}

TEST(TimeHelper, ASamplingRateIsAnIntervalOfTheSameLength) {
  const unsigned long rates[] = {60, 120, 180, 300, 360, 600, 720, 900, 1200, 1800, 3600};
  unsigned char number = 0;
  for (const unsigned long rate : rates) {
    QueryInterval interval = QueryInterval::Month;
    EXPECT_EQ(TimeHelper::ConvertSamplingRateToQueryInterval(rate, interval), StatusCode::Success);
    EXPECT_EQ(interval, QueryInterval(number++));
  }
  for (const unsigned long rate : {0UL, 59UL, 7200UL, 86400UL, ~0UL}) {
    LogCapture log(3);
    QueryInterval interval = QueryInterval::Month;
    EXPECT_EQ(TimeHelper::ConvertSamplingRateToQueryInterval(rate, interval),
              StatusCode::InvalidArgument);
    EXPECT_EQ(interval, QueryInterval::Month);
    EXPECT_EQ(log.Take(),
              std::vector<std::string>{"3[TimeSeriesDatabase::TimeHelper] Invalid sampling rate [" +
                                       std::to_string(rate) + "]"});
  }
}

TEST(TimeHelper, TheNextDateOfEachInterval) {
  const long long seconds[] = {
      60, 120, 180, 300, 360, 600, 720, 900, 1200, 1800, HOUR, 13 * HOUR, 30 * 86400 + 13 * HOUR};
  const Date::Date from = Window(PARIS_DAY + 10 * HOUR, 0).start;  // the clocks have changed
  for (unsigned char number = 0; number < 13; ++number) {
    const long long expected = number < 12 ? seconds[number] : 13 * HOUR + 29 * 86400;
    Date::Date next;
    TimeHelper::ComputeNextDate(QueryInterval(number), from, next);
    EXPECT_EQ(next.timestamp - from.timestamp, expected)
        << QueryIntervalToString(QueryInterval(number));
    EXPECT_EQ(next.timeZone.name(), "Europe/Paris");
  }
  for (const QueryInterval interval : {QueryInterval::FullPeriod, QueryInterval(14)}) {
    LogCapture log(3);
    Date::Date next;
    next.timestamp = 7;
    TimeHelper::ComputeNextDate(interval, from, next);
    EXPECT_EQ(next.timestamp, 7);
    EXPECT_EQ(log.Take(), std::vector<std::string>{
                              "3[TimeSeriesDatabase::TimeHelper] QueryInterval not implemented"});
  }
}

TEST(TimeHelper, DateTextsAreReadByTheHost) {
  long long seconds = 7;
  EXPECT_FALSE(TimeHelper::ConvertStringDateToUnixTime("yesterday", seconds));
  EXPECT_EQ(seconds, 7);
  EXPECT_TRUE(TimeHelper::ConvertStringDateToUnixTime("2024-03-31T00:00:00+01:00", seconds));
  EXPECT_EQ(seconds, PARIS_DAY);
}

TEST(TimeWindow, IsValid) {
  LogCapture log(3);
  EXPECT_EQ(Window(1, 2).IsValid(), StatusCode::Success);
  EXPECT_TRUE(log.Take().empty());

  EXPECT_EQ(Window(PARIS_DAY, PARIS_DAY).IsValid(), StatusCode::InvalidArgument);
  EXPECT_EQ(Window(0, 86400, "Europe/Paris", "UTC").IsValid(), StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take(),
            (std::vector<std::string>{
                "3[TimeSeriesDatabase::TimeWindow] Time window is invalid "
                "[2024-03-31T00:00:00.000+01:00 - 2024-03-31T00:00:00.000+01:00]",
                "3[TimeSeriesDatabase::TimeWindow] Timezones are different -> Start date time-zone "
                "[Europe/Paris] != End date time-zone [UTC]"}));
}

TEST(TimeWindowHelper, AdjustKeepsTheCompleteIntervals) {
  struct Case {
    QueryInterval interval;
    long long start, end, adjustedStart, adjustedEnd;  // behind 2024-03-31T00:00:00+01:00
  };
  const Case cases[] = {
      {QueryInterval::Hour, 607, 9753, HOUR, 2 * HOUR},
      {QueryInterval::Hour, HOUR, 2 * HOUR, HOUR, 2 * HOUR},
      {QueryInterval::Day, -1, 47 * HOUR + 1, 0, 47 * HOUR},
      {QueryInterval::FiveMinutes, -1, 301, 0, 300},
  };
  for (const Case& expected : cases) {
    TimeWindow window = Window(PARIS_DAY + expected.start, PARIS_DAY + expected.end);
    EXPECT_EQ(TimeWindowHelper::AdjustTimeWindow(
                  expected.interval, TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, window),
              StatusCode::Success);
    EXPECT_EQ(window.start.timestamp - PARIS_DAY, expected.adjustedStart);
    EXPECT_EQ(window.end.timestamp - PARIS_DAY, expected.adjustedEnd);
  }
  TimeWindow window = Window(PARIS_DAY + 1, PARIS_DAY + 2);
  EXPECT_EQ(TimeWindowHelper::AdjustTimeWindow(
                QueryInterval::Hour, {Date::RoundType::Down, Date::RoundType::Up}, window),
            StatusCode::Success);
  EXPECT_EQ(window.start.timestamp, PARIS_DAY);
  EXPECT_EQ(window.end.timestamp, PARIS_DAY + HOUR);
}

TEST(TimeWindowHelper, AdjustLeavesAWindowWithoutCompleteInterval) {
  LogCapture log(6);
  TimeWindow window = Window(PARIS_DAY + 420, PARIS_DAY + 3180);
  EXPECT_EQ(TimeWindowHelper::AdjustTimeWindow(QueryInterval::Hour,
                                               TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, window),
            StatusCode::InvalidArgument);
  EXPECT_EQ(window.start.timestamp, PARIS_DAY + 420);
  EXPECT_EQ(window.end.timestamp, PARIS_DAY + 3180);
  const std::vector<std::string> lines = log.Take();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], "6" + HELPER +
                          "AdjustTimeWindow: There is no complete intervals in the time window "
                          "[2024-03-31T00:07:00.000+01:00 - 2024-03-31T00:53:00.000+01:00], "
                          "interval = [Hour]");

  window.end = window.start;
  EXPECT_EQ(TimeWindowHelper::AdjustTimeWindow(QueryInterval::Hour,
                                               TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, window),
            StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take().size(), 1u);
}

TEST(TimeWindowHelper, CapacityOfEachInterval) {
  const unsigned int divisors[] = {60, 120, 180, 300, 360, 600, 720, 900, 1200, 1800, 3600, 86400};
  for (unsigned char number = 0; number < 12; ++number) {
    for (const long long remainder : {-1, 0, 1}) {
      unsigned int capacity = 7;
      const TimeWindow window = Window(PARIS_DAY, PARIS_DAY + 5LL * divisors[number] + remainder);
      EXPECT_EQ(
          TimeWindowHelper::CalculateDataPointsCapacity(window, QueryInterval(number), capacity),
          StatusCode::Success);
      EXPECT_EQ(capacity, remainder < 0 ? 4u : 5u);
    }
  }
  struct Case {
    TimeWindow window;
    QueryInterval interval;
    unsigned int capacity;
  };
  const Case cases[] = {
      {Window(1706655600, 1709247600), QueryInterval::Month, 2},  // 31 January to 1 March
      {Window(1706655600, 1706742000), QueryInterval::Month, 1},  // 31 January to 1 February
      {Window(1701385200, 1706742000), QueryInterval::Month, 2},  // 1 December to 1 February
      {Window(0, 1), QueryInterval::FullPeriod, 1},
      {Window(0, 3599), QueryInterval::Hour, 0},
      {Window(std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max(), "UTC"),
       QueryInterval::FullPeriod, 1},
  };
  for (const Case& expected : cases) {
    unsigned int capacity = 7;
    EXPECT_EQ(
        TimeWindowHelper::CalculateDataPointsCapacity(expected.window, expected.interval, capacity),
        StatusCode::Success);
    EXPECT_EQ(capacity, expected.capacity);
  }
}

TEST(TimeWindowHelper, CapacityRefusesWhatItCannotCount) {
  LogCapture log(3);
  unsigned int capacity = 7;
  EXPECT_EQ(
      TimeWindowHelper::CalculateDataPointsCapacity(Window(2, 1), QueryInterval::Day, capacity),
      StatusCode::InvalidArgument);
  EXPECT_EQ(
      TimeWindowHelper::CalculateDataPointsCapacity(Window(1, 2), QueryInterval(14), capacity),
      StatusCode::InvalidArgument);
  EXPECT_EQ(capacity, 7u);
  const std::vector<std::string> lines = log.Take();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "3" + HELPER + "CalculateDataPointsCapacity: Time window is invalid");
  EXPECT_EQ(lines[2], "3" + HELPER + "CalculateDataPointsCapacity: Query interval is not handled");
}

}  // namespace
