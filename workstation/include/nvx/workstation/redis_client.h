#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "nvx/redis_client_interface.h"
#include "nvx/workstation/redis_address.h"

namespace nvx::Workstation {

// The hashes of a Redis server.
//
// Connects at the first call and again whenever the connection was lost, so that a server may be
// restarted at any time. May be used from several threads, which take turns on one connection.
// Raises no SIGPIPE and throws nothing but failed allocations.
//
// Every operation returns one of these:
//
//   Success
//   NotFound         there is no such key or field
//   Unavailable      the server is not there, does not answer in time, answers more than 4,096
//   bytes
//                    or does not serve us, as with a wrong password or while it loads its data
//   InvalidArgument  the key holds something other than a hash
class __attribute__((visibility("default"))) RedisClient : public nv::kora::RedisClientInterface {
 public:
  // The longest times that a call waits to connect and then for its answer. (The lookup of a host
  // name takes as long as the system's.) After a call that waited in vain, the server is left alone
  // for the length of `command`: calls return Unavailable at once.
  struct Timeouts {
    std::chrono::milliseconds connect{1000};
    std::chrono::milliseconds command{1000};
  };

  // Does not connect.
  explicit RedisClient(const RedisAddress& address);
  RedisClient(const RedisAddress& address, const Timeouts& timeouts);
  ~RedisClient() override;

  // Logs a problem other than NotFound as information.
  nv::kora::StatusCode HashGet(const std::string& key, const std::string& field,
                               std::string& value) override;

  // The same, but writes the reason of a failure to `problem` instead of the log: one line without
  // the password. `value` changes only on success, `problem` only on failure.
  nv::kora::StatusCode HashGet(const std::string& key, const std::string& field, std::string& value,
                               std::string& problem);

  // Sets fields of the hash stored under `key`, all or none. `problem` as above.
  nv::kora::StatusCode HashSet(const std::string& key,
                               const std::map<std::string, std::string>& fields,
                               std::string& problem);

 private:
  class __attribute__((visibility("hidden"))) Session;
  const std::unique_ptr<Session> session;
};

}  // namespace nvx::Workstation
