#include <cmath>
#include <functional>

#include "support/dates.h"
#include "support/log_capture.h"
#include "support/table.h"
#include "timeseries/failure.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/rrd/interval_processor.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

const std::string ITERATOR = "[TimeSeriesDatabase::Rrd::IntervalIterator]";
const std::string PROCESSOR = "[TimeSeriesDatabase::Rrd::IntervalProcessor]";

static_assert(
    !std::is_constructible_v<Rrd::IntervalProcessor, DataFunction, Rrd::IntervalIterator&>);

// Walks to the end and returns the runs as positions in the buffer, "0-12 12-24".
StatusCode Walk(Rrd::IntervalIterator iterator, const double* samples, std::string& positions) {
  StatusCode rc = iterator.Initialize();
  while (rc == StatusCode::Success) {
    const double* first = nullptr;
    const double* last = nullptr;
    Date::Date date;
    iterator.GetCurrentInterval(first, last, date);
    positions += positions.empty() ? "" : " ";
    positions += first == nullptr && last == nullptr
                     ? "none"
                     : std::to_string(first - samples) + "-" + std::to_string(last - samples);
    rc = iterator.GoToNextInterval();
  }
  return rc;
}

TEST(IntervalIterator, CutsTheBufferAtTheBoundsOfTheIntervals) {
  LogCapture log(3);
  ForEachRow("interval_cuts.txt", [&log](const Row& row) {
    const TimeWindow window =
        Window(row.GetNumber<long long>("start"), row.GetNumber<long long>("end"), row["zone"]);
    const QueryInterval interval{row.GetNumber<unsigned char>("interval")};
    const auto count = row.GetNumber<unsigned int>("samples");
    const std::vector<double> samples(count + 1);
    std::string positions;
    const StatusCode rc =
        Walk(Rrd::IntervalIterator(window, samples.data(), row.GetNumber<unsigned long>("step"),
                                   interval, count),
             samples.data(), positions);
    EXPECT_EQ(static_cast<int>(rc), row.GetNumber("code"));
    EXPECT_EQ(positions, row["positions"]);
    const Lines lines = log.Take();
    const bool isTooLong = !lines.empty() && lines.back().find(ITERATOR) != std::string::npos;
    const std::string reason = rc == StatusCode::OutOfRange ? Failure::GetReason() : "";
    EXPECT_EQ(isTooLong, reason.rfind("End date of interval", 0) == 0);
    EXPECT_EQ(rc == StatusCode::OutOfRange && !isTooLong,
              reason.find("has no end") != std::string::npos);
  });
}

// Processes hours of hourly samples, as many as the window has.
StatusCode Process(const TimeWindow& window, const std::vector<double>& samples,
                   const DataFunction& function, std::vector<NumericalDataPoint>& points) {
  Rrd::IntervalIterator iterator(window, samples.data(), 3600, QueryInterval::Hour);
  return Rrd::IntervalProcessor(function, iterator).Process(points);
}

TEST(IntervalProcessor, OnePointPerInterval) {
  LogCapture log(7);
  std::vector<NumericalDataPoint> points;
  EXPECT_EQ(Process(Window(0, 7200), {1, NAN, 3}, DataFunctions::ComputeAverageIgnoringNan, points),
            StatusCode::Success);
  ASSERT_EQ(points.size(), 2u);
  EXPECT_TRUE(points[0].value == 1 && points[0].quality && points[0].date.timestamp == 0);
  EXPECT_TRUE(std::isnan(points[1].value) && !points[1].quality);
  EXPECT_EQ(points[1].date.timestamp, 3600);
  const std::string process = "7" + PROCESSOR + "[trace] Process: ";
  EXPECT_EQ(log.Take(),
            (Lines{process + "Timestamp [0] dataPoint.value [1.000000]",
                   process + "Timestamp [3600] dataPoint.value [nan]",
                   "7" + ITERATOR + "[trace] ComputeCurrentIterator: Reach last interval of " +
                       "time-window [" + TimeWindowToString(Window(0, 7200)) + "]"}));
}

TEST(IntervalProcessor, StopsAtTheFirstFailure) {
  int calls = 0;
  const DataFunction failing = [&calls](const double*, const double*, double&, bool&) {
    return ++calls == 3 ? StatusCode::IoError : StatusCode::Success;
  };
  const auto expect = [](const TimeWindow& window, const DataFunction& function, StatusCode code,
                         std::size_t pointCount, const Lines& lines) {
    LogCapture log(3);
    std::vector<NumericalDataPoint> points;
    EXPECT_EQ(Process(window, {1, 2, 3, 4, 5}, function, points), code);
    EXPECT_EQ(points.size(), pointCount);
    EXPECT_EQ(log.Take(), lines);
  };
  const std::string process = "3" + PROCESSOR + " Process: ";
  expect(Window(0, 14400), failing, StatusCode::IoError, 2,
         {process + "Failed to compute data function for date [1970-01-01T02:00:00.000+00:00], UTC "
                    "timestamp [7200]"});
  expect(Window(36000, 45000), DataFunctions::ComputeDelta, StatusCode::OutOfRange, 2,
         {"3" + ITERATOR +
              " ComputeCurrentIterator: End date of interval [46800] is superior to "
              "end date of time-window [45000]",
          process + "Failed to determine next interval"});
  expect(Window(10, 10), DataFunctions::ComputeDelta, StatusCode::InvalidArgument, 0,
         {"3[TimeSeriesDatabase::TimeWindow] Time window is invalid [" +
              TimeWindowToString(Window(10, 10)) + "]",
          process + "Failed to initialize iterator"});
  std::vector<NumericalDataPoint> points;
  EXPECT_THROW(static_cast<void>(Process(Window(0, 3600), {1, 2}, DataFunction(), points)),
               std::bad_function_call);
}

}  // namespace
