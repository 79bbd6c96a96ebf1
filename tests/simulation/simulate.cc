// Lives of devices, one for each seed, without a look at any clock: a seed is the same life every
// time. Ends with 1 at the first difference from the model.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>

#include "nvx/root_logger.h"
#include "simulation/device.h"
#include "support/leaks_of_librrd.h"

namespace {

using namespace nvx::TimeSeriesDatabase::Simulation;

volatile unsigned long seed;

template <typename... Words>
void TellSeed(const Words&... words) {
  std::cerr << "seed " << seed << ", ";
  (std::cerr << ... << words) << "\nagain: scripts/simulate " << seed << '-' << seed << std::endl;
}

void EndBySignal(int signal) {
  TellSeed("signal ", signal);
  std::_Exit(128 + signal);
}

// One that ends the program waits for the end of the life; so it does in the children, who would
// tell it as a difference.
void HoldInterruptions() {
  sigset_t held;
  sigemptyset(&held);
  sigaddset(&held, SIGINT);
  sigaddset(&held, SIGTERM);
  sigprocmask(SIG_BLOCK, &held, nullptr);
}

bool IsInterrupted() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1;
}

// Reads a number from 1 on, and moves behind it; 0 for anything else.
unsigned long ReadNumber(const char*& text) {
  char* end = nullptr;
  errno = 0;
  const unsigned long number = *text >= '0' && *text <= '9' ? std::strtoul(text, &end, 10) : 0;
  text = end == nullptr ? text : end;
  return errno == 0 ? number : 0;
}

// Sets the first seed, and returns the last one; 0 if the text is wrong.
unsigned long ReadSeeds(const char* text) {
  const unsigned long number = ReadNumber(text);
  if (*text == '-') {
    seed = number;
    const unsigned long last = ReadNumber(++text);
    return *text == '\0' && number > 0 && number <= last ? last : 0;
  }
  const char* wanted = std::getenv("NVX_TEST_SEED");
  seed = wanted == nullptr ? 1 : ReadNumber(wanted);
  const bool isRead = *text == '\0' && (wanted == nullptr || *wanted == '\0');
  const unsigned long last = seed + number - 1;
  return isRead && number > 0 && seed > 0 && last >= seed ? last : 0;
}

// What a failed life leaves behind is removed, and its seed told.
long long Live(Figures& figures) {
  try {
    return Device(seed, figures).Live();
  } catch (const std::exception& difference) {
    TellSeed(difference.what());
    return -1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const unsigned long last = argc == 2 ? ReadSeeds(argv[1]) : 0;
  if (last == 0) {
    std::cerr << "usage: scripts/simulate SEEDS, a COUNT of lives or FIRST-LAST\n";
    return 2;
  }
  HoldInterruptions();
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    std::signal(signal, EndBySignal);
  }
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  std::cout << "seeds " << seed << '-' << last << std::endl;
  Figures figures;
  double seconds = 0;
  long long age = 0;
  for (; seed <= last && age >= 0 && !IsInterrupted(); seed = seed + 1) {
    age = Live(figures);
    seconds += static_cast<double>(std::max(0LL, age));
  }
  std::cout << "up to seed " << seed - 1 << ": " << seconds / 31556952 << " device-years\n";
  for (const auto& [name, count] : figures) {
    std::cout << count << ' ' << name << '\n';
  }
  return age < 0 ? 1 : 0;
}
