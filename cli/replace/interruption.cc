#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

volatile std::sig_atomic_t pendingSignal = 0;

void Remember(int signal) { pendingSignal = signal; }

}  // namespace

InterruptionGuard::InterruptionGuard() {
  struct sigaction action {};
  action.sa_handler = Remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < sizeof SIGNALS / sizeof *SIGNALS; ++i) {
    sigaction(SIGNALS[i], nullptr, &former[i]);
    if (former[i].sa_handler != SIG_IGN) {
      sigaction(SIGNALS[i], &action, nullptr);
    }
  }
}

InterruptionGuard::~InterruptionGuard() {
  for (std::size_t i = 0; i < sizeof SIGNALS / sizeof *SIGNALS; ++i) {
    sigaction(SIGNALS[i], &former[i], nullptr);
  }
}

bool InterruptionGuard::IsPending() { return pendingSignal != 0; }

void InterruptionGuard::Check() {
  if (pendingSignal != 0) {
    throw Interrupted{pendingSignal};
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
