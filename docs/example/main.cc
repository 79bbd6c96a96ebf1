#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nvx/file_system.h>
#include <nvx/workstation/in_memory_redis_client.h>
#include <timeseries/failure.h>
#include <timeseries/rrd/database.h>
#include <timeseries/rrd_client.h>

using namespace nvx::TimeSeriesDatabase;
using cctz::civil_second;

// Stores a sample an hour in the directory that its argument names, and prints monthly averages.
int main(int, char** arguments) {
  nvx::Utilities::FileSystem files;
  nvx::Workstation::InMemoryRedisClient store;
  RrdClient rrd;
  const Rrd::Database database(arguments[1], files, store, rrd);

  const std::string zone = "Europe/Berlin";
  TimeWindow window;
  if (window.start.InitializeFromCivilTime(civil_second(2024, 1, 1), zone) != StatusCode::Success ||
      window.end.InitializeFromCivilTime(civil_second(2024, 3, 1), zone) != StatusCode::Success) {
    return 1;
  }

  std::map<long long, double> samples;  // seconds since 1970 to value
  for (long long time = window.start.timestamp; time <= window.end.timestamp; time += 3600) {
    samples[time] = samples.size() < 31 * 24 ? 20.5 : 22.5;
  }
  // Create replaces a file, so it is called only where there is none. An hour a step, begun a step
  // before the first sample; values from -40 to 125; 8760 rows.
  const long long begin = window.start.timestamp - 3600;
  std::string path;
  if (database.HasDataSource("topo:Boiler") == StatusCode::NotFound &&
      (database.GetPathToRrdFile("topo:Boiler", path) != StatusCode::Success ||
       rrd.Create(path, 3600, begin, -40, 125, 8760) != StatusCode::Success ||
       rrd.UpdateAtomically(path, samples, Rrd::Durability::Process) != StatusCode::Success)) {
    std::fprintf(stderr, "%s\n", Failure::GetReason());
    return 1;
  }

  std::unique_ptr<NumericalDataSourceInterface> source;
  std::vector<NumericalDataPoint> points;
  if (database.GetNumericalDataSource("topo:Boiler", source) != StatusCode::Success ||
      source->FetchAverage(window, QueryInterval::Month, points) != StatusCode::Success) {
    return 1;
  }
  for (const NumericalDataPoint& point : points) {
    std::printf("%s %.2f %s\n", point.date.ToText().c_str(), point.value,
                point.quality ? "good" : "bad");
  }
}
