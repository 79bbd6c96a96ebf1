#pragma once

#include <chrono>
#include <csignal>
#include <thread>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Ends a command that got a signal. It is no std::exception, so that it is not caught where the
// failure of one file is.
struct Interrupted {
  int signal;
};

// While it lives, SIGINT, SIGTERM and SIGHUP only take effect where the work can stop and leave
// nothing behind; a second signal ends the process at once.
class InterruptionGuard {
 public:
  InterruptionGuard();
  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;
  ~InterruptionGuard();

  // Whether one of the signals has come.
  static bool IsPending();

  // Throws Interrupted if one of the signals has come.
  static void Check();

 private:
  static constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

  struct sigaction former[sizeof SIGNALS / sizeof *SIGNALS];
};

// Repeats `work` until it returns true; false when it has not in the given time. Throws
// Interrupted.
template <typename Work>
bool Retry(std::chrono::milliseconds patience, std::chrono::milliseconds pause, const Work& work) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!work()) {
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    InterruptionGuard::Check();
    std::this_thread::sleep_for(pause);
  }
  return true;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
