#include "rrd/read_guard.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

#include "base/command_error.h"
#include "base/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::atomic<const std::string*> pending{nullptr};  // the message; none while nothing is read

// Calls nothing but what a handler may call.
void End(int signal) {
  const std::string* const message = pending;
  if (message != nullptr && write(STDERR_FILENO, message->data(), message->size()) != -1) {
    _exit(EXIT_FAILED);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

bool Install() {
  std::signal(SIGBUS, End);
  std::signal(SIGFPE, End);
  return true;
}

}  // namespace

ReadGuard::ReadGuard(const std::string& path)
    : message("nvx-timeseries: " +
              WithoutControls(
                  CommandError(path, "it was changed while it was read", StatusCode::Failure)
                      .GetText()) +
              "\n") {
  static const bool isInstalled = Install();
  pending = isInstalled ? &message : nullptr;
}

ReadGuard::~ReadGuard() { pending = nullptr; }

}  // namespace nvx::TimeSeriesDatabase::CommandLine
