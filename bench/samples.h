#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "nvx/workstation/in_memory_redis_client.h"
#include "timeseries/rrd/numerical_data_source.h"
#include "timeseries/rrd/tool/sanitizer.h"
#include "timeseries/rrd_client.h"

// The samples of 2021, one a minute, by which queries are measured.
namespace Bench {

using nvx::TimeSeriesDatabase::QueryInterval;
using nvx::TimeSeriesDatabase::RrdClient;
using nvx::TimeSeriesDatabase::TimeWindow;
using Points = std::vector<nvx::TimeSeriesDatabase::NumericalDataPoint>;

constexpr long long STEP = 60;
constexpr const char* ZONE = "Europe/Paris";

// The bounds of the year.
constexpr long long START = 1609455600;  // 2021-01-01T00:00:00+01:00
constexpr long long END = 1640991600;    // 2022-01-01T00:00:00+01:00
constexpr long long UTC_START = START + 3600;
constexpr long long UTC_END = END + 3600;

constexpr long long DAY = 86400;
constexpr double SAMPLES_OF_A_YEAR = 525600;

// A directory that is removed with its object.
class Directory {
 public:
  Directory();
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory();

  std::string GetPath(const std::string& name) const { return path + "/" + name; }

 private:
  std::string path;
};

std::map<long long, double> MakeSamples(long long start, long long end);

// Makes a file of `rowCount` rows with the samples from `start` to `end`.
void MakeFile(const std::string& path, long long start, long long end, unsigned int rowCount);

TimeWindow MakeWindow(long long start, long long end, const char* zone = ZONE);

// A file of the year, which is removed with its object.
class Year {
 public:
  Year();

  const std::string& GetPath() const { return path; }

  // The averages, all of which must be good.
  Points Query(const TimeWindow& window, QueryInterval interval) const;

 private:
  Directory directory;
  std::string path;
};

// The complete weeks of a window, and what a function makes of each.
TimeWindow ShrinkToWeeks(TimeWindow window);
Points QueryWeeks(const Year& year, const TimeWindow& weeks,
                  const nvx::TimeSeriesDatabase::DataFunction& function);

// Fetches with the RRD library alone, and frees the result.
void FetchAlone(const std::string& path, long long start, long long end);

// What a rival finds for an interval.
struct Bucket {
  long long start;
  double average;
};

// The interval to which the rival assigns a sample on a bound; we assign it to both.
enum class BoundSample { InBoth, InNext, InFormer };

// Requires that the rival has the averages of the points, but for the sample on a bound.
void RequireEqual(const Points& points, const std::vector<Bucket>& buckets, long long end,
                  BoundSample boundSample);

// Adds up the samples of each point, without the library.
std::vector<Bucket> AddUp(const Points& points, long long end);

}  // namespace Bench
