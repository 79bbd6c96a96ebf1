// The main query and the storing of samples, each beside the other ways to the same result.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "nvx/workstation/in_memory_redis_client.h"
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

// A year of one-minute samples in a file of its own.
class YearFile {
 public:
  YearFile() {
    std::filesystem::create_directory(directory);
    std::map<long long, double> samples;
    for (long long time = START; time <= END; time += STEP) {
      samples[time] = std::sin(static_cast<double>(time) / 86400.0);
    }
    const auto rows = static_cast<unsigned int>(samples.size());
    const bool isStored = rrd.Create(path, STEP, START - STEP, std::nan(""), std::nan(""), rows) ==
                              StatusCode::Success &&
                          rrd.Update(path, samples) == StatusCode::Success;
    if (!isStored) {
      std::abort();
    }
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
  window.start.Initialize(start, ZONE);
  window.end.Initialize(end, ZONE);
  return window;
}

YearFile& File() {
  static YearFile file;
  return file;
}

void QueryByOneFetch(benchmark::State& state) {
  nvx::Workstation::InMemoryRedisClient redis;
  Rrd::NumericalDataSource source(File().path, redis, File().rrd);
  const TimeWindow window = Window(START, END);
  const QueryInterval interval{static_cast<unsigned char>(state.range(0))};
  std::size_t points = 0;
  for (auto _ : state) {
    std::vector<NumericalDataPoint> answer;
    if (source.FetchAverage(window, interval, answer) != StatusCode::Success) {
      state.SkipWithError("query failed");
    }
    points = answer.size();
  }
  state.counters["points"] = static_cast<double>(points);
}

// The rival that asks the RRD library anew for every interval.
void QueryByAFetchPerInterval(benchmark::State& state) {
  const QueryInterval interval{static_cast<unsigned char>(state.range(0))};
  for (auto _ : state) {
    std::vector<NumericalDataPoint> answer;
    NumericalDataPoint point;
    point.date = Window(START, END).start;
    while (point.date.timestamp < END) {
      Date::Date next;
      TimeHelper::ComputeNextDate(interval, point.date, next);
      Rrd::FetchResult result;
      File().rrd.Fetch(File().path, point.date.timestamp, next.timestamp, result);
      DataFunctions::ComputeAverageIgnoringNan(result.GetData(),
                                               result.GetData() + result.GetSampleCount() - 1,
                                               point.value, point.quality);
      answer.push_back(point);
      point.date = next;
    }
    benchmark::DoNotOptimize(answer.data());
  }
}

// The rival that looks every sample's local day up, as a database without calendar would have to.
void QueryByLocalDayOfEverySample(benchmark::State& state) {
  cctz::time_zone zone;
  cctz::load_time_zone(ZONE, &zone);
  for (auto _ : state) {
    Rrd::FetchResult result;
    File().rrd.Fetch(File().path, START, END, result);
    std::map<cctz::civil_day, std::pair<double, int>> days;
    for (unsigned int i = 0; i < result.GetSampleCount(); ++i) {
      const cctz::time_point<cctz::seconds> instant{cctz::seconds(START + i * STEP)};
      auto& [sum, count] = days[cctz::civil_day(zone.lookup(instant).cs)];
      sum += result.GetData()[i];
      ++count;
    }
    benchmark::DoNotOptimize(days.size());
  }
}

// What no query can avoid: the RRD library's own reading of the samples.
void FetchAlone(benchmark::State& state) {
  for (auto _ : state) {
    Rrd::FetchResult result;
    File().rrd.Fetch(File().path, START, END, result);
    benchmark::DoNotOptimize(result.GetData());
  }
}

constexpr int DAY = static_cast<int>(QueryInterval::Day);
constexpr int HOUR = static_cast<int>(QueryInterval::Hour);

BENCHMARK(QueryByOneFetch)->Arg(DAY)->Arg(HOUR)->Unit(benchmark::kMillisecond);
BENCHMARK(QueryByAFetchPerInterval)->Arg(DAY)->Arg(HOUR)->Unit(benchmark::kMillisecond);
BENCHMARK(QueryByLocalDayOfEverySample)->Unit(benchmark::kMillisecond);
BENCHMARK(FetchAlone)->Unit(benchmark::kMillisecond);

void TextByToChars(benchmark::State& state) {
  double number = 21.5;
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
  rrd.Create(path, STEP, START - STEP, std::nan(""), std::nan(""), 100000);
  const bool isBatch = state.range(0) != 0;
  long long time = START;
  for (auto _ : state) {
    std::map<long long, double> samples;
    for (int i = 0; i < 60; ++i, time += STEP) {
      samples[time] = i;
      if (!isBatch) {
        rrd.Update(path, samples);
        samples.clear();
      }
    }
    if (isBatch) {
      rrd.Update(path, samples);
    }
  }
}

BENCHMARK(StoreAnHour)->ArgName("batch")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
