#include "nvx/workstation/in_memory_redis_client.h"

namespace nvx::Workstation {

using nv::kora::StatusCode;

StatusCode InMemoryRedisClient::HashGet(const std::string& key, const std::string& field,
                                        std::string& value) {
  const auto found = fields.find({key, field});
  if (found == fields.end()) {
    return StatusCode::NotFound;
  }
  value = found->second;
  return StatusCode::Success;
}

void InMemoryRedisClient::HashSet(const std::string& key, const std::string& field,
                                  const std::string& value) {
  fields[{key, field}] = value;
}

}  // namespace nvx::Workstation
