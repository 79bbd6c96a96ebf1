// Where there is no client of a store.

#include "points/metadata_store.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

StatusCode MetadataStore::SetUrl(const std::string& /*url*/, std::string& problem) {
  problem = "this program was built without a client of Redis servers";
  return StatusCode::InvalidArgument;
}

StatusCode MetadataStore::HashGet(const std::string& /*key*/, const std::string& /*field*/,
                                  std::string& /*value*/) {
  return StatusCode::NotFound;
}

void MetadataStore::Write(const std::string& /*path*/, long long /*firstTimestamp*/,
                          unsigned long /*interval*/) {}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
