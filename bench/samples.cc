#include "samples.h"

#include <rrd.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

#include "row.h"
#include "timeseries/calendar.h"

namespace Bench {
namespace {

using namespace nvx::TimeSeriesDatabase;

void RequireSuccess(StatusCode status, const char* what) {
  Require(status == StatusCode::Success, what);
}

// In millionths, so that a file and a text with six digits hold exactly this value.
double GetSample(long long time) {
  return std::round(std::sin(static_cast<double>(time) / 1e5) * 1e6) / 1e6;
}

}  // namespace

Directory::Directory() {
  path = (std::filesystem::temp_directory_path() / "timeseries-bench-XXXXXX").string();
  Require(mkdtemp(path.data()) != nullptr, "directory");
}

Directory::~Directory() { std::filesystem::remove_all(path); }

std::map<long long, double> MakeSamples(long long start, long long end) {
  std::map<long long, double> samples;
  for (long long time = start; time <= end; time += STEP) {
    samples.emplace_hint(samples.end(), time, GetSample(time));
  }
  return samples;
}

void MakeFile(const std::string& path, long long start, long long end, unsigned int rowCount) {
  const RrdClient rrd;
  RequireSuccess(rrd.Create(path, STEP, start - STEP, std::nan(""), std::nan(""), rowCount),
                 "creation");
  RequireSuccess(rrd.Update(path, MakeSamples(start, end)), "update");
}

TimeWindow MakeWindow(long long start, long long end, const char* zone) {
  TimeWindow window;
  RequireSuccess(window.start.Initialize(start, zone), "zone");
  RequireSuccess(window.end.Initialize(end, zone), "zone");
  return window;
}

Year::Year() : path(directory.GetPath("year.rrd")) {
  MakeFile(path, START, UTC_END, static_cast<unsigned int>((UTC_END - START) / STEP + 1));
}

Points Year::Query(const TimeWindow& window, QueryInterval interval) const {
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient rrd;
  Points points;
  RequireSuccess(Rrd::NumericalDataSource(path, redis, rrd).FetchAverage(window, interval, points),
                 "query");
  return points;
}

TimeWindow ShrinkToWeeks(TimeWindow window) {
  RequireSuccess(Calendar::AdjustTimeWindow({CalendarUnit::Week}, window), "weeks");
  return window;
}

Points QueryWeeks(const Year& year, const TimeWindow& weeks, const DataFunction& function) {
  std::vector<Date::Date> bounds;
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient rrd;
  Points points;
  RequireSuccess(Calendar::ListBounds({CalendarUnit::Week}, weeks, bounds), "bounds");
  RequireSuccess(
      Rrd::NumericalDataSource(year.GetPath(), redis, rrd).Fetch(bounds, function, points),
      "query by week");
  return points;
}

void FetchAlone(const std::string& path, long long start, long long end) {
  std::time_t first = start - 1;
  std::time_t last = end - 1;
  unsigned long step = 0;
  unsigned long count = 0;
  char** names = nullptr;
  double* data = nullptr;
  Require(rrd_fetch_r(path.c_str(), "LAST", &first, &last, &step, &count, &names, &data) == 0,
          "rrd_fetch_r");
  std::free(names[0]);
  std::free(names);
  std::free(data);
}

void RequireEqual(const Points& points, const std::vector<Bucket>& buckets, long long end,
                  BoundSample boundSample) {
  Require(points.size() == buckets.size(), "number of intervals");
  for (std::size_t i = 0; i < points.size(); ++i) {
    const long long start = points[i].date.timestamp;
    const long long next = i + 1 < points.size() ? points[i + 1].date.timestamp : end;
    const long long stepCount = (next - start) / STEP;
    const auto count = static_cast<double>(stepCount);
    double sum = buckets[i].average * count;
    if (boundSample == BoundSample::InBoth) {
      sum += buckets[i].average;
    } else {
      sum += GetSample(boundSample == BoundSample::InNext ? next : start);
    }
    Require(buckets[i].start == start && points[i].quality, "interval");
    Require(std::abs(points[i].value * (count + 1) - sum) < 1e-6, "average");
  }
}

std::vector<Bucket> AddUp(const Points& points, long long end) {
  std::vector<Bucket> buckets;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const long long start = points[i].date.timestamp;
    const long long next = i + 1 < points.size() ? points[i + 1].date.timestamp : end;
    const long long last = next == start + STEP ? start : next;  // of one step, the first alone
    double sum = 0;
    double count = 0;
    for (long long time = start; time <= last; time += STEP) {
      sum += GetSample(time);
      ++count;
    }
    buckets.push_back({start, sum / count});
  }
  return buckets;
}

}  // namespace Bench
