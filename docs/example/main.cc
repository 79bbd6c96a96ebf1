// Stores two hours of samples and asks for the averages of each.

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nvx/file_system.h>
#include <nvx/workstation/in_memory_redis_client.h>

#include "timeseries/rrd/database.h"
#include "timeseries/rrd_client.h"

using namespace nvx::TimeSeriesDatabase;

int main(int, char** arguments) {
  nvx::Utilities::FileSystem files;
  nvx::Workstation::InMemoryRedisClient store;
  RrdClient rrd;
  const Rrd::Database database(arguments[1], files, store, rrd);

  std::map<long long, double> samples;
  for (int i = 0; i <= 120; ++i) {
    samples[1700006400 + i * 60] = i < 60 ? 20.5 : 22.5;
  }
  std::string path;
  if (database.GetPathToRrdFile("topo:Temperature", path) != StatusCode::Success ||
      rrd.Create(path, 60, 1700006340, -40, 125, 1440) != StatusCode::Success ||
      rrd.Update(path, samples) != StatusCode::Success) {
    return 1;
  }

  TimeWindow window;
  std::unique_ptr<NumericalDataSourceInterface> source;
  std::vector<NumericalDataPoint> points;
  if (window.start.Initialize(1700006400, "Europe/Paris") != StatusCode::Success ||
      window.end.Initialize(1700013600, "Europe/Paris") != StatusCode::Success ||
      database.GetNumericalDataSource("topo:Temperature", source) != StatusCode::Success ||
      source->FetchAverage(window, QueryInterval::Hour, points) != StatusCode::Success) {
    return 1;
  }
  for (const NumericalDataPoint& point : points) {
    std::printf("%s %.2f %s\n", point.date.ToText().c_str(), point.value,
                point.quality ? "good" : "bad");
  }
  return points.size() == 2 ? 0 : 1;
}
