#include "redis_connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace nvx::Workstation {
namespace {

using Clock = std::chrono::steady_clock;

// Room for a path; the values that are asked for are numbers.
constexpr std::size_t LONGEST_ANSWER = 4096;

// The first characters of replies with a single part.
constexpr std::string_view KINDS = "+-:$";

timeval ToTimeval(std::chrono::milliseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const std::chrono::microseconds rest = time - seconds;
  return {static_cast<decltype(timeval::tv_sec)>(seconds.count()),
          static_cast<decltype(timeval::tv_usec)>(rest.count())};
}

redisContext* Connect(const RedisAddress& address, timeval time) {
  return address.socketPath.empty()
             ? redisConnectWithTimeout(address.host.c_str(), address.port, time)
             : redisConnectUnixWithTimeout(address.socketPath.c_str(), time);
}

// A command in the form of the protocol.
std::string Format(const RedisConnection::Command& command) {
  std::vector<const char*> words;
  std::vector<std::size_t> sizes;
  for (const std::string_view word : command) {
    words.push_back(word.data());
    sizes.push_back(word.size());
  }
  char* formatted = nullptr;
  const long long size = redisFormatCommandArgv(&formatted, static_cast<int>(command.size()),
                                                words.data(), sizes.data());
  if (size < 0) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<char, decltype(&redisFreeCommand)> owned(formatted, redisFreeCommand);
  return {formatted, static_cast<std::size_t>(size)};
}

bool Fail(const std::string& reason, std::string& problem) {
  problem = reason;
  return false;
}

bool FailWithErrno(std::string& problem) {
  return Fail(std::generic_category().message(errno), problem);
}

}  // namespace

std::string_view GetText(const redisReply& reply) { return {reply.str, reply.len}; }

bool RedisConnection::Open(const RedisAddress& address, Milliseconds time, std::string& problem) {
  context.reset(Connect(address, ToTimeval(time)));
  if (context == nullptr) {
    throw std::bad_alloc();
  }
  if (context->err != 0) {
    Fail(context->errstr, problem);
    context.reset();
    return false;
  }
  fcntl(context->fd, F_SETFD, FD_CLOEXEC);
  return true;
}

bool RedisConnection::Introduce(const RedisAddress& address, Time deadline, std::string& problem) {
  const std::string database = std::to_string(address.database);
  return (address.password.empty() ||
          Demand({"AUTH", address.password}, deadline, "refuses the password", problem)) &&
         (address.database == 0 ||
          Demand({"SELECT", database}, deadline, "refuses database " + database, problem));
}

// Of an error only the first word, its kind, is reported: some errors quote the command, and so the
// password.
bool RedisConnection::Demand(const Command& command, Time deadline, const std::string& refusal,
                             std::string& problem) {
  RedisReply reply;
  if (!Ask(command, deadline, reply, problem)) {
    return false;
  }
  if (reply->type == REDIS_REPLY_STATUS) {
    return true;
  }
  context.reset();
  const bool isError = reply->type == REDIS_REPLY_ERROR;
  const std::string_view kind = isError ? GetText(*reply) : "not a status";
  return Fail(refusal + " (" + std::string(kind.substr(0, kind.find(' '))) + ")", problem);
}

bool RedisConnection::Ask(const Command& command, Time deadline, RedisReply& reply,
                          std::string& problem) {
  if (Send(Format(command), deadline, problem) && Receive(deadline, reply, problem)) {
    return true;
  }
  context.reset();
  return false;
}

// hiredis itself would write without MSG_NOSIGNAL, and its timeouts start again with every byte.
bool RedisConnection::Send(std::string_view bytes, Time deadline, std::string& problem) {
  while (!bytes.empty()) {
    const ssize_t sent = send(context->fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (errno != EAGAIN && errno != EINTR) {
      return FailWithErrno(problem);
    } else if (!Wait(POLLOUT, deadline, problem)) {
      return false;
    }
  }
  return true;
}

// hiredis itself would read any amount, and allocate for as many parts as a reply announces.
bool RedisConnection::Receive(Time deadline, RedisReply& reply, std::string& problem) {
  std::array<char, LONGEST_ANSWER> bytes;
  for (std::size_t size = 0; size < bytes.size();) {
    const std::size_t taken = ReceiveSome(bytes.data(), bytes.size() - size, deadline, problem);
    if (taken == 0) {
      return false;
    }
    if (size == 0 && KINDS.find(bytes.front()) == std::string_view::npos) {
      return Fail("not the answer of a Redis server", problem);
    }
    size += taken;
    redisReader& reader = *context->reader;
    void* received = nullptr;
    redisReaderFeed(&reader, bytes.data(), taken);
    if (redisReaderGetReply(&reader, &received) != REDIS_OK) {
      return Fail(reader.errstr, problem);
    }
    if (received != nullptr) {
      reply.reset(static_cast<redisReply*>(received));
      return reader.pos == reader.len || Fail("it answers more than was asked", problem);
    }
  }
  return Fail("its answer is too long", problem);
}

std::size_t RedisConnection::ReceiveSome(char* bytes, std::size_t size, Time deadline,
                                         std::string& problem) {
  while (Wait(POLLIN, deadline, problem)) {
    const ssize_t taken = recv(context->fd, bytes, size, MSG_DONTWAIT);
    if (taken > 0) {
      return static_cast<std::size_t>(taken);
    }
    if (taken == 0) {
      Fail("the server has closed the connection", problem);
      return 0;
    }
    if (errno != EAGAIN && errno != EINTR) {
      FailWithErrno(problem);
      return 0;
    }
  }
  return 0;
}

bool RedisConnection::Wait(short event, Time deadline, std::string& problem) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      return Fail("no answer in time", problem);
    }
    pollfd awaited = {context->fd, event, 0};
    const int ready = poll(&awaited, 1, static_cast<int>(left));
    if (ready > 0) {
      return true;
    }
    if (ready < 0 && errno != EINTR) {
      return FailWithErrno(problem);
    }
  }
}

}  // namespace nvx::Workstation
