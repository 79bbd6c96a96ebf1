#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Has the system write a growing file to the disk while it grows, so that its sync at the end finds
// little left to do. Nothing depends on its success.
class EarlyWriteback {
 public:
  // The descriptor must stay open meanwhile.
  explicit EarlyWriteback(int fd);
  EarlyWriteback(const EarlyWriteback&) = delete;
  EarlyWriteback& operator=(const EarlyWriteback&) = delete;
  ~EarlyWriteback();

 private:
  void Run(int fd);

  std::mutex mutex;
  std::condition_variable condition;
  bool isEnded = false;
  std::thread thread;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
