// The main query and the storing of samples, each beside the other ways to the same result.

#include <benchmark/benchmark.h>
#include <rrd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "nvx/workstation/in_memory_redis_client.h"
#include "rrd/file_gate.h"
#include "rrd/number_text.h"
#include "timeseries/rrd/numerical_data_source.h"
#include "timeseries/rrd_client.h"
#include "timeseries/time_helper.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long STEP = 60;
constexpr long long START = 1609455600;  // 2021-01-01T00:00:00+01:00
constexpr long long END = 1640991600;    // 2022-01-01T00:00:00+01:00
constexpr const char* ZONE = "Europe/Paris";

// Ends the program where a result is not right: a wrong one is not worth timing.
void Require(bool isRight) {
  if (!isRight) {
    std::fputs("timeseries-bench: a result is wrong\n", stderr);
    std::abort();
  }
}

double GetSample(long long time) { return std::sin(static_cast<double>(time) / 86400.0); }

// A year of one-minute samples in a file of its own.
class YearFile {
 public:
  YearFile() {
    std::filesystem::create_directory(directory);
    std::map<long long, double> samples;
    for (long long time = START; time <= END; time += STEP) {
      samples[time] = GetSample(time);
    }
    const auto rows = static_cast<unsigned int>(samples.size());
    Require(rrd.Create(path, STEP, START - STEP, std::nan(""), std::nan(""), rows) ==
            StatusCode::Success);
    Require(rrd.Update(path, samples) == StatusCode::Success);
  }
  YearFile(const YearFile&) = delete;
  YearFile& operator=(const YearFile&) = delete;
  ~YearFile() { std::filesystem::remove_all(directory); }

  const std::string directory =
      (std::filesystem::temp_directory_path() / "nvx-timeseries-bench").string();
  const std::string path = directory + "/year.rrd";
  RrdClient rrd;
};

TimeWindow Window(long long start, long long end) {
  TimeWindow window;
  Require(window.start.Initialize(start, ZONE) == StatusCode::Success);
  Require(window.end.Initialize(end, ZONE) == StatusCode::Success);
  return window;
}

YearFile& File() {
  static YearFile file;
  return file;
}

using Points = std::vector<NumericalDataPoint>;

Points QueryByOneFetch(QueryInterval interval) {
  nvx::Workstation::InMemoryRedisClient redis;
  Rrd::NumericalDataSource source(File().path, redis, File().rrd);
  Points points;
  Require(source.FetchAverage(Window(START, END), interval, points) == StatusCode::Success);
  return points;
}

void Fetch(long long start, long long end, Rrd::FetchResult& result) {
  Require(File().rrd.Fetch(File().path, start, end, result) == StatusCode::Success);
}

// The rival that asks the RRD library anew for every interval.
Points QueryByAFetchPerInterval(QueryInterval interval) {
  Points points;
  NumericalDataPoint point;
  point.date = Window(START, END).start;
  while (point.date.timestamp < END) {
    Date::Date next;
    TimeHelper::ComputeNextDate(interval, point.date, next);
    Rrd::FetchResult result;
    Fetch(point.date.timestamp, next.timestamp, result);
    const double* const last = result.GetData() + result.GetSampleCount() - 1;
    Require(DataFunctions::ComputeAverageIgnoringNan(result.GetData(), last, point.value,
                                                     point.quality) == StatusCode::Success);
    points.push_back(point);
    point.date = next;
  }
  return points;
}

// The rival that looks every sample's local day up, as a database without calendar would have to.
// A sample on a midnight belongs to the day that begins alone.
Points QueryByLocalDayOfEverySample(QueryInterval /*day*/) {
  const cctz::time_zone zone = Window(START, END).start.timeZone;
  Rrd::FetchResult result;
  Fetch(START, END - STEP, result);
  std::map<cctz::civil_day, std::pair<double, int>> days;
  for (unsigned int i = 0; i < result.GetSampleCount(); ++i) {
    const cctz::time_point<cctz::seconds> instant{cctz::seconds(START + i * STEP)};
    auto& [sum, count] = days[cctz::civil_day(zone.lookup(instant).cs)];
    sum += result.GetData()[i];
    ++count;
  }
  Points points;
  for (const auto& [day, sum] : days) {
    points.emplace_back();
    points.back().value = sum.first / sum.second;
  }
  return points;
}

// The answer must have the values of the sine that the file holds, before anything is timed.
template <Points (*QUERY)(QueryInterval)>
void Query(benchmark::State& state) {
  const QueryInterval interval{static_cast<unsigned char>(state.range(0))};
  const Points checked = QUERY(interval);
  Require(checked.size() == (interval == QueryInterval::Day ? 365 : 8760));
  Date::Date start = Window(START, END).start;
  for (const NumericalDataPoint& point : checked) {
    Date::Date end;
    TimeHelper::ComputeNextDate(interval, start, end);
    double sum = 0;
    double count = 0;
    for (long long time = start.timestamp; time < end.timestamp; time += STEP) {
      sum += GetSample(time);
      ++count;
    }
    Require(std::abs(point.value - sum / count) < 0.001);  // with or without the last sample
    start = end;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(QUERY(interval).data());
  }
  state.counters["points"] = static_cast<double>(checked.size());
}

// What no query can avoid: the RRD library's own reading of the samples.
void FetchAlone(benchmark::State& state) {
  Rrd::FetchResult checked;
  Fetch(START, END, checked);
  for (unsigned int i = 0; i < checked.GetSampleCount(); ++i) {
    Require(std::abs(checked.GetData()[i] - GetSample(START + i * STEP)) < 1e-6);
  }
  for (auto _ : state) {
    Rrd::FetchResult result;
    Fetch(START, END, result);
    benchmark::DoNotOptimize(result.GetData());
  }
}

// An hour, a month and a year by the client, which looks at the header first, and by the RRD
// library alone.
void FetchSpan(benchmark::State& state) {
  for (auto _ : state) {
    Rrd::FetchResult result;
    (void)File().rrd.Fetch(File().path, END - state.range(0), END, result);
    benchmark::DoNotOptimize(result.GetData());
  }
}

void FetchSpanUnguarded(benchmark::State& state) {
  for (auto _ : state) {
    time_t start = END - state.range(0) - 1;
    time_t end = END - 1;
    unsigned long step = 0;
    unsigned long count = 0;
    char** names = nullptr;
    double* data = nullptr;
    rrd_fetch_r(File().path.c_str(), "LAST", &start, &end, &step, &count, &names, &data);
    benchmark::DoNotOptimize(data);
    std::free(names[0]);
    std::free(names);
    std::free(data);
  }
}

// The look at the header.
void Gate(benchmark::State& state) {
  for (auto _ : state) {
    const Rrd::FileGate gate(File().path);
    benchmark::DoNotOptimize(gate.GetFault());
  }
}

constexpr int HOUR_LENGTH = 3600;
constexpr int MONTH_LENGTH = 30 * 86400;
constexpr int YEAR_LENGTH = 365 * 86400;
BENCHMARK(FetchSpan)->Arg(HOUR_LENGTH)->Arg(MONTH_LENGTH)->Arg(YEAR_LENGTH);
BENCHMARK(FetchSpanUnguarded)->Arg(HOUR_LENGTH)->Arg(MONTH_LENGTH)->Arg(YEAR_LENGTH);
BENCHMARK(Gate);

constexpr int DAY = static_cast<int>(QueryInterval::Day);
constexpr int HOUR = static_cast<int>(QueryInterval::Hour);

BENCHMARK(Query<QueryByOneFetch>)->Arg(DAY)->Arg(HOUR)->Unit(benchmark::kMillisecond);
BENCHMARK(Query<QueryByAFetchPerInterval>)->Arg(DAY)->Arg(HOUR)->Unit(benchmark::kMillisecond);
BENCHMARK(Query<QueryByLocalDayOfEverySample>)->Arg(DAY)->Unit(benchmark::kMillisecond);
BENCHMARK(FetchAlone)->Unit(benchmark::kMillisecond);

void TextByToChars(benchmark::State& state) {
  double number = 21.5;
  std::string checked;
  AppendNumber(checked, number);
  Require(checked == std::to_string(number));
  for (auto _ : state) {
    std::string text;
    AppendNumber(text, number += 0.37);
    benchmark::DoNotOptimize(text.data());
  }
}

void TextByToString(benchmark::State& state) {
  double number = 21.5;
  for (auto _ : state) {
    std::string text = std::to_string(number += 0.37);
    benchmark::DoNotOptimize(text.data());
  }
}

BENCHMARK(TextByToChars);
BENCHMARK(TextByToString);

// Stores an hour of samples, in one batch or one by one, in a file that goes on from hour to hour.
void StoreAnHour(benchmark::State& state) {
  const std::string path = File().directory + "/hour.rrd";
  const RrdClient rrd;
  Require(rrd.Create(path, STEP, START - STEP, std::nan(""), std::nan(""), 100000) ==
          StatusCode::Success);
  const bool isBatch = state.range(0) != 0;
  long long time = START;
  for (auto _ : state) {
    std::map<long long, double> samples;
    for (int i = 0; i < 60; ++i, time += STEP) {
      samples[time] = i;
      if (!isBatch) {
        Require(rrd.Update(path, samples) == StatusCode::Success);
        samples.clear();
      }
    }
    if (isBatch) {
      Require(rrd.Update(path, samples) == StatusCode::Success);
    }
  }
  Rrd::FetchResult result;
  Require(rrd.Fetch(path, time - 3600, time - STEP, result) == StatusCode::Success);
  for (unsigned int i = 0; i < 60; ++i) {
    Require(result.GetData()[i] == i);
  }
}

BENCHMARK(StoreAnHour)->ArgName("batch")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
