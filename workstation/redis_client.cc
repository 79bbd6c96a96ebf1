#include "nvx/workstation/redis_client.h"

#include <pthread.h>

#include <algorithm>
#include <mutex>

#include "nvx/root_logger.h"
#include "redis_connection.h"

namespace nvx::Workstation {
namespace {

using nv::kora::KoraLogLevel;
using nv::kora::StatusCode;
using Clock = std::chrono::steady_clock;

void LogProblem(const char* operation, const std::string& problem) {
  const auto& logger = Log::RootLogger::GetInstance();
  if (logger.GetLevel() >= KoraLogLevel::Information) {
    logger.Print(KoraLogLevel::Information, "[%lu][%s] %s: %s",
                 static_cast<unsigned long>(pthread_self()), "Workstation::RedisClient", operation,
                 problem.c_str());
  }
}

}  // namespace

// The connection, which comes and goes, and the turns of the threads.
class RedisClient::Session {
 public:
  Session(const RedisAddress& address, const Timeouts& timeouts)
      : address(address), timeouts(timeouts) {}

  // Success for a reply of `type`, NotFound for a nil; otherwise the code for the reply or its
  // absence.
  StatusCode Ask(const RedisConnection::Command& command, int type, RedisReply& reply,
                 std::string& problem) {
    std::string reason;
    StatusCode status = StatusCode::Unavailable;
    if (Exchange(command, reply, reason)) {
      if (reply->type == type) {
        return StatusCode::Success;
      }
      if (reply->type == REDIS_REPLY_NIL) {
        return StatusCode::NotFound;
      }
      const bool isError = reply->type == REDIS_REPLY_ERROR;
      reason = isError ? GetText(*reply) : "not the answer of a Redis server";
      if (isError && reason.rfind("WRONGTYPE", 0) == 0) {
        status = StatusCode::InvalidArgument;
      }
    }
    problem = address.ToText() + ": " + reason;
    return status;
  }

 private:
  bool Exchange(const RedisConnection::Command& command, RedisReply& reply, std::string& reason) {
    const std::lock_guard<std::mutex> lock(mutex);
    const Clock::time_point begin = Clock::now();
    if (begin < restsUntil) {
      reason = "gave no answer in time a moment ago";
      return false;
    }
    const auto isLate = [&] {
      return Clock::now() - begin >= std::min(timeouts.connect, timeouts.command);
    };
    const Clock::time_point deadline = begin + timeouts.connect + timeouts.command;
    const bool mayBeStale = connection.IsOpen();  // the server may have been restarted
    if (TryOnce(command, deadline, reply, reason) ||
        (mayBeStale && !isLate() && TryOnce(command, deadline, reply, reason))) {
      return true;
    }
    if (isLate()) {
      restsUntil = Clock::now() + timeouts.command;
    }
    return false;
  }

  bool TryOnce(const RedisConnection::Command& command, Clock::time_point last, RedisReply& reply,
               std::string& reason) {
    const bool isNew = !connection.IsOpen();
    if (isNew && !connection.Open(address, timeouts.connect, reason)) {
      return false;
    }
    const Clock::time_point deadline = std::min(last, Clock::now() + timeouts.command);
    return (!isNew || connection.Introduce(address, deadline, reason)) &&
           connection.Ask(command, deadline, reply, reason);
  }

  const RedisAddress address;
  const Timeouts timeouts;
  std::mutex mutex;  // of what follows
  RedisConnection connection;
  Clock::time_point restsUntil;
};

RedisClient::RedisClient(const RedisAddress& address) : RedisClient(address, Timeouts()) {}

RedisClient::RedisClient(const RedisAddress& address, const Timeouts& timeouts)
    : session(std::make_unique<Session>(address, timeouts)) {}

RedisClient::~RedisClient() = default;

StatusCode RedisClient::HashGet(const std::string& key, const std::string& field,
                                std::string& value) {
  std::string problem;
  const StatusCode status = HashGet(key, field, value, problem);
  if (!problem.empty()) {
    LogProblem("HashGet", problem);
  }
  return status;
}

StatusCode RedisClient::HashGet(const std::string& key, const std::string& field,
                                std::string& value, std::string& problem) {
  RedisReply reply;
  const StatusCode status = session->Ask({"HGET", key, field}, REDIS_REPLY_STRING, reply, problem);
  if (status == StatusCode::Success) {
    value = GetText(*reply);
  }
  return status;
}

StatusCode RedisClient::HashSet(const std::string& key,
                                const std::map<std::string, std::string>& fields,
                                std::string& problem) {
  RedisConnection::Command command = {"HSET", key};
  for (const auto& [field, value] : fields) {
    command.insert(command.end(), {field, value});
  }
  RedisReply reply;
  return session->Ask(command, REDIS_REPLY_INTEGER, reply, problem);
}

}  // namespace nvx::Workstation
