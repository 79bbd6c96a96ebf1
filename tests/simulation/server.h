#pragma once

#include <functional>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::Simulation {

// A server that takes line protocol of a child process, and keeps what it confirms.
class Server {
 public:
  enum class Answer { Confirmed, Unavailable, None, Kill };

  struct Run {
    int status = 0;                      // of the child; 128 and more after a signal
    std::vector<std::string> confirmed;  // lines
    bool isCutOff = false;               // a request was not confirmed
  };

  Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server();

  std::string GetUrl() const;

  // Runs `work` in a child and confirms its first `confirmedCount` requests; all that follow get
  // `answer`.
  Run Serve(const std::function<int()>& work, int confirmedCount, Answer answer) const;

 private:
  int socket;
  int port = 0;
};

}  // namespace nvx::TimeSeriesDatabase::Simulation
