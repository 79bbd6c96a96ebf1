#include "support/redis_server.h"

#include <fcntl.h>
#include <hiredis/hiredis.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "support/arguments.h"
#include "support/child.h"
#include "support/run_program.h"

namespace {

bool Answers(const std::string& socketPath) {
  redisContext* const context = redisConnectUnix(socketPath.c_str());
  const bool isConnected = context != nullptr && context->err == 0;
  redisFree(context);
  return isConnected;
}

}  // namespace

const std::string& RedisServer::GetProgram() {
  static const std::string program = [] {
    const ProgramResult result =
        RunProgram({FETCH_SERVER, "redis-server", "redis-server", "redis-tools"});
    return result.status == 0 ? result.output.substr(0, result.output.find('\n')) : "";
  }();
  return program;
}

RedisServer::RedisServer(const std::string& socketPath, const std::vector<std::string>& options)
    : socket(socketPath), command{GetProgram(), "--port",       "0",       "--save",
                                  "",           "--unixsocket", socketPath} {
  command.insert(command.end(), options.begin(), options.end());
  Restart();
}

void RedisServer::Restart() {
  Kill();
  const std::vector<char*> arguments = PointTo(command);
  process = StartChild([&] {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    return execv(arguments[0], arguments.data());
  });
  while (!Answers(socket)) {
    if (waitpid(process, nullptr, WNOHANG) != 0) {
      process = 0;
      throw std::runtime_error("redis-server does not start");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void RedisServer::Kill() {
  if (process != 0) {
    kill(process, SIGKILL);
    WaitFor(process);
    process = 0;
  }
}
