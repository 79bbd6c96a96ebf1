#include "timeseries/time_window.h"

#include <limits>

#include "support/dates.h"
#include "support/log_capture.h"
#include "timeseries/query_interval.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

using namespace nvx::TimeSeriesDatabase;
using TimeWindowHelper::AdjustTimeWindow;
using TimeWindowHelper::CalculateDataPointsCapacity;
using TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY;

namespace {

constexpr long long PARIS_DAY = 1711839600;  // 2024-03-31T00:00:00+01:00, of 23 hours
constexpr long long FIXED_SECONDS[] = {60, 120, 180, 300, 360, 600, 720, 900, 1200, 1800, 3600};
const std::string HELPER = "[TimeSeriesDatabase::TimeWindowHelper] ";

TEST(QueryInterval, HasATextAndAnOrder) {
  const char* const texts[] = {"OneMinute",     "TwoMinutes",    "ThreeMinutes",  "FiveMinutes",
                               "SixMinutes",    "TenMinutes",    "TwelveMinutes", "FifteenMinutes",
                               "TwentyMinutes", "ThirtyMinutes", "Hour",          "Day",
                               "Month",         "FullPeriod"};
  for (unsigned char left = 0; left < 16; ++left) {
    const QueryInterval lhs{left};
    EXPECT_EQ(QueryIntervalToString(lhs), std::string(left < 14 ? texts[left] : ""));
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
  QueryInterval interval = QueryInterval::Month;
  for (unsigned char number = 0; number < 11; ++number) {
    const auto rate = static_cast<unsigned long>(FIXED_SECONDS[number]);
    EXPECT_EQ(TimeHelper::ConvertSamplingRateToQueryInterval(rate, interval), StatusCode::Success);
    EXPECT_EQ(interval, QueryInterval(number));
  }
  for (const unsigned long rate : {0UL, 59UL, 7200UL, 86400UL, ~0UL}) {
    LogCapture log(3);
    EXPECT_EQ(TimeHelper::ConvertSamplingRateToQueryInterval(rate, interval),
              StatusCode::InvalidArgument);
    EXPECT_EQ(interval, QueryInterval::Hour);
    EXPECT_EQ(log.Take(), Lines{"3[TimeSeriesDatabase::TimeHelper] Invalid sampling rate [" +
                                std::to_string(rate) + "]"});
  }
}

TEST(TimeHelper, OtherIntervalsHaveNoNextDate) {
  for (const QueryInterval interval : {QueryInterval::FullPeriod, QueryInterval(14)}) {
    LogCapture log(3);
    Date::Date next;
    TimeHelper::ComputeNextDate(interval, Window(1, 2).start, next);
    EXPECT_EQ(next.timestamp, 0);
    EXPECT_EQ(log.Take(), Lines{"3[TimeSeriesDatabase::TimeHelper] QueryInterval not implemented"});
  }
}

TEST(TimeHelper, DateTextsAreReadByTheHost) {
  long long seconds = 7;
  EXPECT_FALSE(TimeHelper::ConvertStringDateToUnixTime("yesterday", seconds));
  EXPECT_EQ(seconds, 7);
  EXPECT_TRUE(TimeHelper::ConvertStringDateToUnixTime("2024-03-31T00:00:00+01:00", seconds));
  EXPECT_EQ(seconds, PARIS_DAY);
}

TEST(TimeWindow, IsValidWithAStartBeforeItsEndInOneZone) {
  LogCapture log(3);
  EXPECT_EQ(Window(1, 2).IsValid(), StatusCode::Success);
  EXPECT_EQ(Window(PARIS_DAY, PARIS_DAY, "Europe/Paris").IsValid(), StatusCode::InvalidArgument);
  EXPECT_EQ(Window(0, 86400, "Europe/Paris", "UTC").IsValid(), StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take(),
            (Lines{"3[TimeSeriesDatabase::TimeWindow] Time window is invalid "
                   "[2024-03-31T00:00:00.000+01:00 - 2024-03-31T00:00:00.000+01:00]",
                   "3[TimeSeriesDatabase::TimeWindow] Timezones are different -> Start date "
                   "time-zone [Europe/Paris] != End date time-zone [UTC]"}));
}

TEST(TimeWindowHelper, WidensAWindowWithAnotherStrategy) {
  TimeWindow window = Window(1, 2);
  const TimeWindowHelper::RoundingStrategy widening = {Date::RoundType::Down, Date::RoundType::Up};
  EXPECT_EQ(AdjustTimeWindow(QueryInterval::Hour, widening, window), StatusCode::Success);
  EXPECT_TRUE(window.start.timestamp == 0 && window.end.timestamp == 3600);
}

TEST(TimeWindowHelper, AWindowWithoutCompleteIntervalIsLogged) {
  LogCapture log(6);
  TimeWindow window = Window(420, 3180);
  EXPECT_EQ(AdjustTimeWindow(QueryInterval::Hour, DEFAULT_ROUNDING_STRATEGY, window),
            StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take().back(),
            "6" + HELPER + "AdjustTimeWindow: There is no complete intervals in the time window [" +
                TimeWindowToString(window) + "], interval = [Hour]");
  window.end = window.start;
  EXPECT_EQ(AdjustTimeWindow(QueryInterval::Hour, DEFAULT_ROUNDING_STRATEGY, window),
            StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take().size(), 1u);
}

TEST(TimeWindowHelper, EstimatesTheCapacityForEachInterval) {
  unsigned int capacity = 7;
  const auto calculate = [&capacity](const TimeWindow& window, QueryInterval interval) {
    EXPECT_EQ(CalculateDataPointsCapacity(window, interval, capacity), StatusCode::Success);
    return capacity;
  };
  for (unsigned char number = 0; number < 12; ++number) {
    const long long seconds = number < 11 ? FIXED_SECONDS[number] : 86400;
    EXPECT_EQ(calculate(Window(7, 7 + 5 * seconds), QueryInterval(number)), 5u);
    EXPECT_EQ(calculate(Window(7, 6 + 5 * seconds), QueryInterval(number)), 4u);
  }
  const auto months = [&calculate](const char* start, const char* end) {
    return calculate(Window(ToSeconds(start), ToSeconds(end), "Europe/Paris"),
                     QueryInterval::Month);
  };
  EXPECT_EQ(months("2024-01-31T00:00:00+01:00", "2024-03-01T00:00:00+01:00"), 2u);
  EXPECT_EQ(months("2024-01-31T23:30:00+00:00", "2024-02-28T00:00:00+01:00"), 0u);
  EXPECT_EQ(months("2023-12-01T00:00:00+01:00", "2024-02-01T00:00:00+01:00"), 2u);

  using Limits = std::numeric_limits<long long>;
  const TimeWindow longest = Window(Limits::min(), Limits::max());
  EXPECT_EQ(CalculateDataPointsCapacity(longest, QueryInterval::Day, capacity),
            StatusCode::Success);
  EXPECT_EQ(CalculateDataPointsCapacity(longest, QueryInterval::FullPeriod, capacity),
            StatusCode::Success);
  EXPECT_EQ(capacity, 1u);

  LogCapture log(3);
  EXPECT_EQ(CalculateDataPointsCapacity(Window(2, 1), QueryInterval::Day, capacity),
            StatusCode::InvalidArgument);
  EXPECT_EQ(CalculateDataPointsCapacity(Window(1, 2), QueryInterval(14), capacity),
            StatusCode::InvalidArgument);
  EXPECT_EQ(capacity, 1u);
  const Lines lines = log.Take();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "3" + HELPER + "CalculateDataPointsCapacity: Time window is invalid");
  EXPECT_EQ(lines[2], "3" + HELPER + "CalculateDataPointsCapacity: Query interval is not handled");
}

}  // namespace
