#pragma once

#include <string>

#include "nvx/status_code.h"

namespace nvx::Workstation {

// Where a Redis server listens, its password and its database. As a URL:
//
//   redis://[:PASSWORD@]HOST:PORT[/DB]    redis://:s%40fe@[::1]:6379/2
//   unix://[:PASSWORD@]/PATH              unix:///run/redis/redis.sock
//
// In PASSWORD and PATH, "%" and two hexadecimal digits stand for a byte other than 0. Characters
// with a meaning in a URL ("%", and in a password "@" and "/") are written this way.
struct __attribute__((visibility("default"))) RedisAddress {
  std::string socketPath;  // of a Unix socket; empty where there is a host
  std::string host;
  int port = 0;
  int database = 0;      // 0 is a new connection's
  std::string password;  // empty: none

  // Reads a URL. InvalidArgument, with `address` unchanged, for any other text; `problem` then says
  // what is wrong, without the password.
  static nv::kora::StatusCode Parse(const std::string& url, RedisAddress& address,
                                    std::string& problem);

  // The URL without its password, for messages.
  std::string ToText() const;
};

}  // namespace nvx::Workstation
