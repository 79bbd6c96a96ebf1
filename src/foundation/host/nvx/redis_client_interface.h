#pragma once

#include <string>

#include "nvx/status_code.h"

namespace nv::kora {

// The platform's key-value store, of which only the hashes are read here.
class __attribute__((visibility("default"))) RedisClientInterface {
 public:
  virtual ~RedisClientInterface() = default;

  // Reads `field` of the hash stored under `key` into `value`. Success when the field exists; any
  // other code, with `value` unchanged, when it does not.
  virtual StatusCode HashGet(const std::string& key, const std::string& field,
                             std::string& value) = 0;
};

}  // namespace nv::kora
