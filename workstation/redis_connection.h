#pragma once

#include <hiredis/hiredis.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "nvx/workstation/redis_address.h"

namespace nvx::Workstation {

struct FreeReply {
  void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using RedisReply = std::unique_ptr<redisReply, FreeReply>;

// The text of a string, a status or an error.
std::string_view GetText(const redisReply& reply);

// One connection to a server, for one thread. An operation that fails closes it, so that a late
// reply is never taken for that to another command, and gives the reason in `problem`.
class RedisConnection {
 public:
  using Command = std::vector<std::string_view>;
  using Milliseconds = std::chrono::milliseconds;
  using Time = std::chrono::steady_clock::time_point;

  bool IsOpen() const { return context != nullptr; }

  bool Open(const RedisAddress& address, Milliseconds time, std::string& problem);

  // Gives the password and chooses the database, as the first thing on a new connection.
  bool Introduce(const RedisAddress& address, Time deadline, std::string& problem);

  // Sends a command and waits for its reply: a single part, at most a few KiB.
  bool Ask(const Command& command, Time deadline, RedisReply& reply, std::string& problem);

 private:
  struct Close {
    void operator()(redisContext* connected) const { redisFree(connected); }
  };

  bool Demand(const Command& command, Time deadline, const std::string& refusal,
              std::string& problem);
  bool Send(std::string_view bytes, Time deadline, std::string& problem);
  bool Receive(Time deadline, RedisReply& reply, std::string& problem);

  // The number of bytes received; 0 on failure.
  std::size_t ReceiveSome(char* bytes, std::size_t size, Time deadline, std::string& problem);

  bool Wait(short event, Time deadline, std::string& problem);

  std::unique_ptr<redisContext, Close> context;
};

}  // namespace nvx::Workstation
