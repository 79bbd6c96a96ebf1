#include "timeseries/rrd/numerical_data_source.h"

#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "nvx/workstation/in_memory_redis_client.h"
#include "support/dates.h"
#include "support/log_capture.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/rrd/interval_processor.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long HOUR = 3600;
constexpr long long START = 1700006400;  // a full hour
const std::string COMPONENT = "[TimeSeriesDatabase::Rrd::NumericalDataSource] ";
const std::string TRACE = "[TimeSeriesDatabase::Rrd::NumericalDataSource][trace] ";

// Returns fixed metadata and no samples.
class FixedRrdClient : public RrdClient {
 public:
  StatusCode GetFirstTimestamp(const std::string&, int rraIndex,
                               long long& timestamp) const override {
    EXPECT_EQ(rraIndex, 0);
    timestamp = 42;
    return code;
  }
  StatusCode GetLastTimestamp(const std::string& path, long long& timestamp) const override {
    EXPECT_EQ(path, "a.rrd");
    timestamp = 43;
    return code;
  }
  StatusCode GetInterval(const std::string&, unsigned long& interval) const override {
    interval = 300;
    return code;
  }
  StatusCode Fetch(const std::string&, long long, long long, Rrd::FetchResult&) const override {
    return code;
  }

  StatusCode code = StatusCode::Success;
};

// The log lines of one operation about its store and its file.
Lines MetadataLines(const std::string& kind, const std::string& operation, const std::string& what,
                    const std::string& parser, const std::string& stored, bool isFailure) {
  Lines lines;
  if (kind == "miss") {
    lines.push_back("6" + COMPONENT + operation + ": Fail to get " + what +
                    " from redis, trying with rrd");
  } else if (kind == "exception") {
    lines.push_back("3" + COMPONENT + operation + ": Exception raised by std::" + parser +
                    ", value='" + stored + "', exception='" + parser + "'");
  }
  if (isFailure) {
    lines.push_back("6" + COMPONENT + operation + ": Fail to get " + what + " for [a.rrd]");
  }
  return lines;
}

TEST(NumericalDataSource, MetadataComesFromTheStoreOrElseTheFile) {
  ForEachRow("metadata.txt", [](const Row& row) {
    const std::string& stored = row["stored"];
    nvx::Workstation::InMemoryRedisClient redis;
    FixedRrdClient rrd;
    rrd.code = StatusCode(row.GetNumber("of the file"));
    if (stored != "not stored") {
      redis.HashSet("a.rrd", "firstTimeStamp", stored);
      redis.HashSet("a.rrd", "interval", stored);
    }
    Rrd::NumericalDataSource source("a.rrd", redis, rrd);
    LogCapture log(6);
    const StatusCode code{row.GetNumber("code")};
    const bool isFailure = code != StatusCode::Success;
    long long timestamp = 7;
    EXPECT_EQ(source.GetFirstTimestamp(timestamp), code);
    EXPECT_EQ(std::to_string(timestamp), row["first timestamp"]);
    EXPECT_EQ(log.Take(), MetadataLines(row["first line"], "GetFirstTimestamp", "first timestamp",
                                        "stol", stored, isFailure));
    unsigned long interval = 7;
    EXPECT_EQ(source.GetInterval(interval), code);
    EXPECT_EQ(std::to_string(interval), row["interval"]);
    EXPECT_EQ(log.Take(), MetadataLines(row["first line"], "GetInterval", "interval", "stoul",
                                        stored, isFailure));

    QueryInterval queryInterval = QueryInterval::Month;
    EXPECT_EQ(source.GetInterval(queryInterval),
              row["query interval"] == "Month" && !isFailure ? StatusCode::InvalidArgument : code);
    EXPECT_EQ(QueryIntervalToString(queryInterval), row["query interval"]);
    const Lines lines = log.Take();
    EXPECT_EQ(!lines.empty() && lines.back() == "6" + COMPONENT + "GetInterval: Fail to convert " +
                                                    "sampling rate for [a.rrd]",
              isFailure);
    EXPECT_EQ(source.GetLastTimestamp(timestamp), rrd.code);
    EXPECT_EQ(timestamp, 43);
    EXPECT_EQ(source.Reserved(), StatusCode::Success);
    EXPECT_TRUE(log.Take().empty());
  });
}

// Three hours and more of one-minute samples.
class Query : public testing::Test {
 protected:
  Query() {
    std::map<long long, double> samples;
    for (int i = 0; i <= 200; ++i) {
      samples[START + i * 60] = i;
    }
    EXPECT_EQ(rrd.Create(path, 60, START - 60, NAN, NAN, 1000), StatusCode::Success);
    EXPECT_EQ(rrd.Update(path, samples), StatusCode::Success);
  }

  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient rrd;
  Rrd::NumericalDataSource source{path, redis, rrd};
  std::vector<NumericalDataPoint> points;
};

TEST_F(Query, AStartBetweenTwoStepsMakesAllPointsBad) {
  LogCapture log(7);
  const TimeWindow window = Window(START + 30, START + 30 + HOUR, "Asia/Kolkata");
  EXPECT_EQ(source.FetchAverage(window, QueryInterval::Hour, points), StatusCode::PartialData);
  Lines lines = log.Take();
  EXPECT_EQ(lines.back(), "7" + TRACE +
                              "FetchAndProcess: time window start time 1700006430 different from "
                              "fetched data start time 1700006460");
  EXPECT_EQ(lines[2], "7" + TRACE + "ProcessByInterval: timeWindow=[" + TimeWindowToString(window) +
                          "], interval=10, expectedNumberOfPoints=1");
  EXPECT_EQ(source.FetchDelta(window, QueryInterval::FullPeriod, points), StatusCode::PartialData);
  lines = log.Take();
  EXPECT_EQ(lines[2], "7" + TRACE + "ComputeDelta: time-window='" + TimeWindowToString(window) +
                          "', NumberOfPoints=61");
}

TEST_F(Query, FailuresLeaveThePointsBeforeThem) {
  const std::string fetch = "FetchAndProcess: Failed to fetch from RRD for time-window [";
  const std::string capacity =
      "ProcessByInterval: Cannot calculate data point capacity for time-window [";
  const auto expect = [&](const std::string& file, const TimeWindow& window, QueryInterval interval,
                          StatusCode code, const std::string& line) {
    Rrd::NumericalDataSource asked(directory.GetPath(file), redis, rrd);
    LogCapture log(3);
    std::vector<NumericalDataPoint> answer(2);
    EXPECT_EQ(asked.FetchAverage(window, interval, answer), code);
    EXPECT_EQ(answer.size(), code == StatusCode::OutOfRange ? 3u : 2u);
    EXPECT_EQ(log.Take().back().find("3" + line), 0u) << line;
  };
  const QueryInterval hour = QueryInterval::Hour;
  const TimeWindow one = Window(START, START + HOUR);
  const TimeWindow mixed = Window(START, START + HOUR, "UTC", "Europe/Paris");
  const TimeWindow reversed = Window(START + HOUR, START);
  expect("none.rrd", one, hour, StatusCode::Failure, COMPONENT + fetch + TimeWindowToString(one));
  expect("a.rrd", reversed, QueryInterval::FullPeriod, StatusCode::Failure,
         COMPONENT + fetch + TimeWindowToString(reversed));
  expect("a.rrd", mixed, hour, StatusCode::InvalidArgument,
         COMPONENT + capacity + TimeWindowToString(mixed) + "] and interval=10");
  expect("a.rrd", one, QueryInterval(14), StatusCode::InvalidArgument,
         COMPONENT + capacity + TimeWindowToString(one) + "] and interval=14");
  expect("a.rrd", Window(START, START + HOUR + 60), hour, StatusCode::OutOfRange, "");

  FixedRrdClient empty;
  Rrd::NumericalDataSource asked(path, redis, empty);
  LogCapture log(3);
  EXPECT_EQ(asked.FetchDelta(one, QueryInterval::FullPeriod, points), StatusCode::Failure);
  EXPECT_EQ(log.Take(), Lines{"3" + COMPONENT + "ComputeDelta: fetched result is empty"});
  EXPECT_TRUE(points.empty());
}

TEST_F(Query, InvalidBoundsAreRefusedBeforeTheFileIsRead) {
  const DataFunction function = DataFunctions::ComputeMaximum;
  const auto expect = [&](const std::vector<Date::Date>& bounds, const std::string& line) {
    Rrd::NumericalDataSource missing(path + "x", redis, rrd);
    LogCapture log(3);
    EXPECT_EQ(missing.Fetch(bounds, function, points), StatusCode::InvalidArgument);
    EXPECT_EQ(log.Take(), Lines{"3" + COMPONENT + "Fetch: " + line});
  };
  const Date::Date start = Window(START, 0, "Europe/Paris").start;
  const Date::Date later = Window(START + 60, 0, "Europe/Paris").start;
  const Date::Date other = Window(START + 120, 0).start;
  expect({}, "Fewer than two bounds [0]");
  expect({start}, "Fewer than two bounds [1]");
  expect({start, later, later}, "Bounds do not ascend [1700006460] [1700006460]");
  expect({later, start}, "Bounds do not ascend [1700006460] [1700006400]");
  expect({start, later, other}, "Timezones of bounds are different [Europe/Paris] [UTC]");

  LogCapture log(3);
  const TimeWindow window{start, later};
  Rrd::NumericalDataSource missing(path + "x", redis, rrd);
  EXPECT_EQ(missing.Fetch({start, later}, function, points), StatusCode::Failure);
  EXPECT_EQ(log.Take().back(), "3" + COMPONENT +
                                   "FetchAndProcess: Failed to fetch from RRD for time-window [" +
                                   TimeWindowToString(window) + "]");
  FixedRrdClient empty;
  Rrd::NumericalDataSource asked(path, redis, empty);
  EXPECT_EQ(asked.Fetch({start, later}, function, points), StatusCode::NullPointer);
  EXPECT_TRUE(points.empty());
}

TEST_F(Query, SeveralFunctionsCanBeAppliedToOneFetch) {
  std::vector<Date::Date> bounds;
  for (const long long minute : {0, 1, 10, 190, 200}) {
    bounds.push_back(Window(START + minute * 60, 0).start);
  }
  Rrd::FetchResult samples;
  ASSERT_EQ(rrd.Fetch(path, START, START + 200 * 60, samples), StatusCode::Success);
  Rrd::FetchResult fewer;  // than the bounds have
  ASSERT_EQ(rrd.Fetch(path, START, START + 100 * 60, fewer), StatusCode::Success);
  std::vector<Date::Date> none;
  for (const auto& [some, fetched] :
       {std::tie(none, samples), std::tie(bounds, samples), std::tie(bounds, fewer)}) {
    EXPECT_EQ(Rrd::ProcessBounds(some, fetched, DataFunctions::ComputeMaximum, points),
              StatusCode::Success);
  }
  int count = 0;
  const DataFunction failing = [&count](const double*, const double*, double& value, bool&) {
    value = 7;
    return ++count < 3 ? StatusCode::Success : StatusCode::Failure;
  };
  LogCapture log(3);
  EXPECT_EQ(Rrd::ProcessBounds(bounds, samples, failing, points), StatusCode::Failure);
  EXPECT_EQ(log.Take().size(), 1u);
  std::vector<double> values;
  for (const NumericalDataPoint& point : points) {
    values.push_back(point.value);
  }
  EXPECT_EQ(values, (std::vector<double>{0, 10, 190, 200, 0, 10, 100, 100, 7, 7}));
}

TEST_F(Query, ThreadsWithObjectsOfTheirOwnAreIndependent) {
  LogCapture log(3);
  std::vector<std::thread> threads;
  for (const int number : {1, 2, 3, 4}) {
    threads.emplace_back([&, number] {
      const std::string ownPath = directory.GetPath(std::to_string(number) + ".rrd");
      const TimeWindow window = Window(START, START + HOUR, "Europe/Paris");
      RrdClient client;
      EXPECT_EQ(client.Create(ownPath, 60, START - 60, NAN, NAN, 1000), StatusCode::Success);
      for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(client.Update(ownPath, {{START + 60 * i, 1.0 * number * i}}),
                  StatusCode::Success);
        Rrd::NumericalDataSource own(ownPath, redis, client);
        Rrd::NumericalDataSource missing(ownPath + "x", redis, client);
        std::vector<NumericalDataPoint> answer;
        EXPECT_EQ(own.FetchDelta(window, QueryInterval::Hour, answer), StatusCode::Success);
        EXPECT_EQ(missing.FetchDelta(window, QueryInterval::Hour, answer), StatusCode::Failure);
        ASSERT_EQ(answer.size(), 1U);
        EXPECT_TRUE(i == 0 || answer[0].value == number * i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(log.Take().size(), 4u * 50 * 2);
}

}  // namespace
