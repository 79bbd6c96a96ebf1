#pragma once

#include <string>
#include <vector>

// A real server on a Unix socket, without a port. It ends with this object, or at the latest with
// the process.
class RedisServer {
 public:
  // The command that runs the server; empty where it cannot be had.
  static const std::string& GetProgram();

  // Returns when the server answers. `options` are those of its command line.
  explicit RedisServer(const std::string& socketPath, const std::vector<std::string>& options = {});
  RedisServer(const RedisServer&) = delete;
  RedisServer& operator=(const RedisServer&) = delete;
  ~RedisServer() { Kill(); }

  void Kill();
  void Restart();

 private:
  std::string socket;
  std::vector<std::string> command;
  int process = 0;
};
