#include <nvx/workstation/redis_client.h>

#include "base/command_error.h"
#include "points/metadata_store.h"
#include "timeseries/rrd/numerical_data_source.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

StatusCode MetadataStore::SetUrl(const std::string& url, std::string& problem) {
  Workstation::RedisAddress address;
  const StatusCode status = Workstation::RedisAddress::Parse(url, address, problem);
  if (status == StatusCode::Success) {
    client = std::make_shared<Workstation::RedisClient>(address);
  }
  return status;
}

StatusCode MetadataStore::HashGet(const std::string& key, const std::string& field,
                                  std::string& value) {
  found.reset();
  if (client == nullptr || isAway || key == refusedKey) {
    return StatusCode::NotFound;
  }
  std::string problem;
  const StatusCode status = client->HashGet(key, field, value, problem);
  if (status == StatusCode::Success) {
    found = value;
  }
  if (!problem.empty()) {
    isAway = status == StatusCode::Unavailable;
    refusedKey = key;
    const std::string subject = isAway ? "" : WithoutControls(key) + ": ";
    PrintMessage(
        CommandError(subject + "the metadata store is not used", problem, status).GetText());
  }
  return status;
}

void MetadataStore::Write(const std::string& path, long long firstTimestamp,
                          unsigned long interval) {
  std::string problem;
  const StatusCode status = client->HashSet(
      path,
      {{Rrd::NumericalDataSource::FIELD_FIRST_TIMESTAMP, std::to_string(firstTimestamp)},
       {Rrd::NumericalDataSource::FIELD_INTERVAL, std::to_string(interval)}},
      problem);
  Require(status, path, "cannot be stored: " + problem);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
