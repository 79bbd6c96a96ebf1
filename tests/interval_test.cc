#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/rrd/interval_processor.h"

using namespace nvx::TimeSeriesDatabase;
using Positions = std::vector<std::pair<long, long>>;

namespace {

constexpr long long HOUR = 3600;
constexpr long long PARIS_30_MARCH = 1711753200;  // 2024-03-30T00:00:00+01:00
const std::string ITERATOR = "[TimeSeriesDatabase::Rrd::IntervalIterator]";
const std::string PROCESSOR = "[TimeSeriesDatabase::Rrd::IntervalProcessor] Process: ";

TimeWindow Window(long long start, long long end, const std::string& zone = "UTC") {
  TimeWindow window;
  EXPECT_EQ(window.start.Initialize(start, zone), StatusCode::Success);
  EXPECT_EQ(window.end.Initialize(end, zone), StatusCode::Success);
  return window;
}

struct Walk {
  StatusCode code;
  Positions positions;
};

// The runs of a whole walk as positions in the buffer; (-1, -1) stands for no samples.
Walk WalkThrough(Rrd::IntervalIterator iterator, const double* samples) {
  Walk walk;
  walk.code = iterator.Initialize();
  while (walk.code == StatusCode::Success) {
    const double* first = nullptr;
    const double* last = nullptr;
    Date::Date date;
    iterator.GetCurrentInterval(first, last, date);
    walk.positions.emplace_back(first == nullptr ? -1 : first - samples,
                                last == nullptr ? -1 : last - samples);
    walk.code = iterator.GoToNextInterval();
  }
  return walk;
}

TEST(IntervalIterator, CutsTheBufferAtTheBoundsOfTheIntervals) {
  struct Case {
    const char* name;
    TimeWindow window;
    QueryInterval interval;
    unsigned long long step;
    unsigned int count;
    StatusCode code;
    Positions positions;
  };
  const StatusCode end = StatusCode::EndOfIteration;
  const Case cases[] = {
      {"hours of five minutes",
       Window(0, 3 * HOUR),
       QueryInterval::Hour,
       300,
       37,
       end,
       {{0, 12}, {12, 24}, {24, 36}}},
      {"a day of 24 and one of 23 hours",
       Window(PARIS_30_MARCH, PARIS_30_MARCH + 47 * HOUR, "Europe/Paris"),
       QueryInterval::Day,
       3600,
       48,
       end,
       {{0, 24}, {24, 47}}},
      {"months of days",
       Window(1704067200, 1711929600),
       QueryInterval::Month,
       86400,
       92,
       end,
       {{0, 31}, {31, 60}, {60, 91}}},
      {"a step longer than the interval",
       Window(36000, 36300),
       QueryInterval::OneMinute,
       300,
       2,
       end,
       {{0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 1}}},
      {"bounds off the grid of steps",
       Window(30, 150),
       QueryInterval::OneMinute,
       60,
       2,
       end,
       {{0, 1}, {1, 1}}},
      {"fewer samples than the window wants",
       Window(0, 3 * HOUR),
       QueryInterval::Hour,
       300,
       20,
       end,
       {{0, 12}, {12, 19}, {19, 19}}},
      {"across 1970",
       Window(-2 * HOUR, 2 * HOUR),
       QueryInterval::Hour,
       300,
       49,
       end,
       {{0, 12}, {12, 24}, {24, 36}, {36, 48}}},
      {"before 1970, off the grid",
       Window(-3630, -30),
       QueryInterval::Hour,
       60,
       61,
       end,
       {{0, 60}}},
      {"no samples", Window(0, 2 * HOUR), QueryInterval::Hour, 300, 0, end, {{-1, -1}, {-1, -1}}},
      {"a huge step", Window(0, 2 * HOUR), QueryInterval::Hour, ~0ULL, 1, end, {{0, 0}, {0, 0}}},
      {"an end off the intervals",
       Window(0, 2 * HOUR + 1800),
       QueryInterval::Hour,
       1800,
       6,
       StatusCode::OutOfRange,
       {{0, 2}, {2, 4}}},
      {"a window shorter than the interval",
       Window(0, 60),
       QueryInterval::Hour,
       60,
       2,
       StatusCode::OutOfRange,
       {}},
      {"no interval at all",
       Window(-5, 60),
       QueryInterval::FullPeriod,
       60,
       2,
       StatusCode::OutOfRange,
       {{0, 1}}},
      {"the end of time",
       Window(std::numeric_limits<long long>::max() - 90, std::numeric_limits<long long>::max()),
       QueryInterval::OneMinute,
       60,
       2,
       StatusCode::OutOfRange,
       {{0, 1}, {1, 1}}},
      {"an invalid window",
       Window(60, 60),
       QueryInterval::Hour,
       60,
       2,
       StatusCode::InvalidArgument,
       {}},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.name);
    LogCapture log(2);
    const std::vector<double> samples(expected.count + (expected.count == 0 ? 1 : 0));
    const Walk walk =
        WalkThrough(Rrd::IntervalIterator(expected.window, samples.data(), expected.step,
                                          expected.interval, expected.count),
                    samples.data());
    EXPECT_EQ(walk.code, expected.code);
    EXPECT_EQ(walk.positions, expected.positions);
  }
}

struct Processed {
  StatusCode code;
  std::vector<NumericalDataPoint> points;
  std::vector<std::string> lines;
};

Processed Process(const TimeWindow& window, QueryInterval interval, unsigned long long step,
                  const std::vector<double>& samples, const DataFunction& function, int level) {
  LogCapture log(level);
  Processed processed;
  Rrd::IntervalIterator iterator(window, samples.data(), step, interval,
                                 static_cast<unsigned int>(samples.size()));
  processed.code = Rrd::IntervalProcessor(function, iterator).Process(processed.points);
  processed.lines = log.Take();
  return processed;
}

TEST(IntervalProcessor, OnePointPerInterval) {
  const std::vector<double> samples = {1, 2, 3, NAN, 5};
  const Processed processed = Process(Window(0, 4 * HOUR), QueryInterval::Hour, HOUR, samples,
                                      DataFunctions::ComputeAverageIgnoringNan, 7);
  EXPECT_EQ(processed.code, StatusCode::Success);
  ASSERT_EQ(processed.points.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(processed.points[i].date.timestamp, static_cast<long long>(i) * HOUR);
    EXPECT_EQ(processed.points[i].quality, i != 3);
    EXPECT_TRUE(i == 3 ? std::isnan(processed.points[i].value)
                       : processed.points[i].value == samples[i]);
  }
  EXPECT_EQ(processed.lines,
            (std::vector<std::string>{
                "7[TimeSeriesDatabase::Rrd::IntervalProcessor][trace] Process: Timestamp [0] "
                "dataPoint.value [1.000000]",
                "7[TimeSeriesDatabase::Rrd::IntervalProcessor][trace] Process: Timestamp [3600] "
                "dataPoint.value [2.000000]",
                "7[TimeSeriesDatabase::Rrd::IntervalProcessor][trace] Process: Timestamp [7200] "
                "dataPoint.value [3.000000]",
                "7[TimeSeriesDatabase::Rrd::IntervalProcessor][trace] Process: Timestamp [10800] "
                "dataPoint.value [nan]",
                "7" + ITERATOR +
                    "[trace] ComputeCurrentIterator: Reach last interval of time-window "
                    "[1970-01-01T00:00:00.000+00:00 - 1970-01-01T04:00:00.000+00:00]"}));
}

TEST(IntervalProcessor, StopsAtTheFirstFailure) {
  int calls = 0;
  const DataFunction failing = [&calls](const double*, const double*, double&, bool&) {
    return ++calls == 3 ? StatusCode::IoError : StatusCode::Success;
  };
  struct Case {
    TimeWindow window;
    DataFunction function;
    StatusCode code;
    std::size_t points;
    std::vector<std::string> lines;
  };
  const Case cases[] = {
      {Window(0, 4 * HOUR),
       failing,
       StatusCode::IoError,
       2,
       {"3" + PROCESSOR +
        "Failed to compute data function for date [1970-01-01T02:00:00.000+00:00], "
        "UTC timestamp [7200]"}},
      {Window(36000, 45000),
       DataFunctions::ComputeDelta,
       StatusCode::OutOfRange,
       2,
       {"3" + ITERATOR +
            " ComputeCurrentIterator: End date of interval [46800] is superior to end "
            "date of time-window [45000]",
        "3" + PROCESSOR + "Failed to determine next interval"}},
      {Window(10, 10),
       DataFunctions::ComputeDelta,
       StatusCode::InvalidArgument,
       0,
       {"3[TimeSeriesDatabase::TimeWindow] Time window is invalid [1970-01-01T00:00:10.000+00:00 - "
        "1970-01-01T00:00:10.000+00:00]",
        "3" + PROCESSOR + "Failed to initialize iterator"}},
  };
  for (const Case& expected : cases) {
    const Processed processed =
        Process(expected.window, QueryInterval::Hour, HOUR, {1, 2, 3, 4, 5}, expected.function, 3);
    EXPECT_EQ(processed.code, expected.code);
    EXPECT_EQ(processed.points.size(), expected.points);
    EXPECT_EQ(processed.lines, expected.lines);
  }
  EXPECT_THROW(Process(Window(0, HOUR), QueryInterval::Hour, HOUR, {1, 2}, DataFunction(), 2),
               std::bad_function_call);
}

}  // namespace
