#pragma once

#include <string>

#include "status_code.h"

namespace nv::kora {
class RedisClientInterface {
 public:
  virtual ~RedisClientInterface() = default;
  virtual StatusCode HashGet(const std::string&, const std::string&, std::string&) = 0;
};
}  // namespace nv::kora
