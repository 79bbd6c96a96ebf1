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
//   Unavailable      the server is not there, does not answer in time, answers more than 4,096 bytes
//                    or does not serve us, as with a wrong password or while it loads its data
//   InvalidArgument  the key holds something else than a hash
class __attribute__((visibility("default"))) RedisClient : public nv::kora::RedisClientInterface {
 public:
  // How long a call waits at most to connect and then for its answer (a host's name is looked up as
  // slowly as the system does it). A server that let a call wait in vain is not asked for the
  // length of `command`: calls meanwhile return Unavailable at once.
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

  // The same, but says in `problem` what stood in the way instead of logging it: one line without
  // the password. `value` and `problem` are unchanged when they have nothing to tell.
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
