// Where there is no client of a store.

#include "store/metadata_store.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

StatusCode MetadataStore::SetUrl(const std::string&, std::string& problem) {
  problem = "this program was built without a client of Redis servers";
  return StatusCode::InvalidArgument;
}

StatusCode MetadataStore::HashGet(const std::string&, const std::string&, std::string&) {
  return StatusCode::NotFound;
}

void MetadataStore::Write(const std::string&, long long, unsigned long) {}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
