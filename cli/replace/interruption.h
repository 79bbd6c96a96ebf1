#pragma once

#include <csignal>

namespace nvx::TimeSeriesDatabase::CommandLine {

// What ends a command that was asked to end. No std::exception, so that what only one file has
// failed for does not catch it.
struct Interrupted {
  int signal;
};

// While it lives, SIGINT, SIGTERM and SIGHUP wait until the work at hand can be left without a
// trace; a second one ends the process at once.
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

}  // namespace nvx::TimeSeriesDatabase::CommandLine
