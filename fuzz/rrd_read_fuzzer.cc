#include <nvx/workstation/in_memory_redis_client.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "memory_file.h"
#include "timeseries/host.h"
#include "timeseries/rrd/numerical_data_source.h"
#include "timeseries/rrd_client.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

void Require(bool isRight) {
  if (!isRight) {
    std::abort();
  }
}

// Every sample of the result is read, and must lie in the expected archive.
void Fetch(const RrdClient& client, const Rrd::FileDescription& file, const std::string& path,
           long long start, long long end) {
  Rrd::FetchResult result;
  if (client.Fetch(path, start, end, result) != StatusCode::Success) {
    return;
  }
  const Rrd::ArchiveDescription* const archive = file.FindArchive(start);
  Require(archive != nullptr && result.GetStep() == file.step * archive->stepsPerRow);
  volatile double sum = 0;
  for (unsigned int i = 0; i < result.GetSampleCount(); ++i) {
    sum = sum + result.GetData()[i];
  }
}

void Query(RrdClient& client, const std::string& path, long long start, long long end) {
  nvx::Workstation::InMemoryRedisClient store;
  Rrd::NumericalDataSource source(path, store, client);
  TimeWindow window;
  Require(window.start.Initialize(start, "Europe/Paris") == StatusCode::Success &&
          window.end.Initialize(end, "Europe/Paris") == StatusCode::Success);
  for (const QueryInterval interval :
       {QueryInterval::OneMinute, QueryInterval::Hour, QueryInterval::Day, QueryInterval::Month,
        QueryInterval::FullPeriod}) {
    std::vector<NumericalDataPoint> points;
    (void)source.FetchAverage(window, interval, points);
    (void)source.FetchDelta(window, interval, points);
  }
}

}  // namespace

// The RRD library leaks a few bytes whenever it opens a file of a version before 0003.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:rrd_open";
}

// Reads the input as an RRD file in all ways, in windows about its last update.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const MemoryFile file("read");
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  file.Set(bytes, size);
  const std::string path = file.GetPath();
  RrdClient client;
  unsigned long step = 0;
  long long first = 0;
  long long last = 0;
  Rrd::FileDescription description;
  const bool isRead = client.GetInterval(path, step) == StatusCode::Success;
  Require(isRead == (client.Describe(path, description) == StatusCode::Success));
  (void)client.GetFirstTimestamp(path, 0, first);
  (void)client.GetLastTimestamp(path, last);
  for (const long long length : {0, 59, 3600}) {
    Fetch(client, description, path, last - length, last);
    Query(client, path, last - length, last);
  }
  Fetch(client, description, path, first, first + 90'000);
  Query(client, path, first, first + 3600);
  return 0;
}
