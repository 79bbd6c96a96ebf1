#pragma once

#include <string>

#include "nvx/status_code.h"

namespace nvx::Workstation {

// Where a Redis server listens, and what it wants to hear first. As an URL:
//
//   redis://[:PASSWORD@]HOST:PORT[/DB]    redis://:s%40fe@[::1]:6379/2
//   unix://[:PASSWORD@]/PATH              unix:///run/redis/redis.sock
//
// In PASSWORD and PATH, "%" and two hexadecimal digits stand for a byte other than 0; what has a
// meaning in an URL ("%", in a password "@" and "/") is written so.
struct __attribute__((visibility("default"))) RedisAddress {
  std::string socketPath;  // of a Unix socket; empty where there is a host
  std::string host;
  int port = 0;
  int database = 0;      // the one a connection begins with
  std::string password;  // empty: none

  // Reads an URL. InvalidArgument, with `problem` telling what is wrong without quoting the
  // password and `address` unchanged, when it has another form.
  static nv::kora::StatusCode Parse(const std::string& url, RedisAddress& address,
                                    std::string& problem);

  // The URL without its password, for messages.
  std::string ToText() const;
};

}  // namespace nvx::Workstation
