#pragma once

#include <map>
#include <string>
#include <utility>

#include "nvx/redis_client_interface.h"

namespace nvx::Workstation {

// A key-value store within the process, empty at the start. Not for use by several threads while
// one of them writes.
class __attribute__((visibility("default"))) InMemoryRedisClient
    : public nv::kora::RedisClientInterface {
 public:
  nv::kora::StatusCode HashGet(const std::string& key, const std::string& field,
                               std::string& value) override;

  // Sets `field` of the hash stored under `key`.
  void HashSet(const std::string& key, const std::string& field, const std::string& value);

 private:
  std::map<std::pair<std::string, std::string>, std::string> fields;
};

}  // namespace nvx::Workstation
