#pragma once

#include <string>

#include "status_code.h"

namespace nv::kora {
class RedisClientInterface {
 public:
  virtual ~RedisClientInterface() = default;
  virtual StatusCode HashGet(const std::string& key, const std::string& field,
                             std::string& value) = 0;
};
}  // namespace nv::kora
