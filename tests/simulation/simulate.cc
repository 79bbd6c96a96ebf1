// Lives of devices, one for each seed, without a look at any clock: a seed is the same life every
// time. Ends with 1 at the first difference from the model.

#include <algorithm>
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
volatile std::sig_atomic_t isEnough = 0;

void TellSeed(int signal) {
  std::cerr << "seed " << seed << ": signal " << signal << std::endl;
  std::_Exit(128 + signal);
}

void Finish(int /*signal*/) { isEnough = 1; }

unsigned long GetFirstSeed() {
  const char* const wanted = std::getenv("NVX_TEST_SEED");
  return wanted == nullptr ? 1 : std::strtoul(wanted, nullptr, 10);
}

// What a failed life leaves behind is removed, and its seed told.
long long Live(Figures& figures) {
  try {
    return Device(seed, figures).Live();
  } catch (const std::exception& difference) {
    std::cerr << "seed " << seed << ", " << difference.what() << "\nagain: simulate " << seed << '-'
              << seed << std::endl;
    return -1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string seeds = argc == 2 ? argv[1] : "";
  char* end = nullptr;
  const unsigned long number = std::strtoul(seeds.c_str(), &end, 10);
  const bool isRange = *end == '-';
  seed = isRange ? number : GetFirstSeed();
  const unsigned long last = isRange ? std::strtoul(end + 1, &end, 10) : seed + number - 1;
  if (seeds.empty() || *end != '\0' || number == 0) {
    std::cerr << "usage: simulate COUNT or simulate FIRST-LAST\n";
    return 2;
  }
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGSEGV, TellSeed);
  std::signal(SIGABRT, TellSeed);
  std::signal(SIGINT, Finish);  // after this life
  std::signal(SIGTERM, Finish);
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  std::cout << "seeds " << seed << '-' << last << std::endl;
  Figures figures;
  double seconds = 0;
  long long age = 0;
  for (; seed <= last && age >= 0 && isEnough == 0; seed = seed + 1) {
    age = Live(figures);
    seconds += static_cast<double>(std::max(0LL, age));
  }
  std::cout << "up to seed " << seed - 1 << ": " << seconds / 31556952 << " device-years\n";
  for (const auto& [name, count] : figures) {
    std::cout << count << ' ' << name << '\n';
  }
  return age < 0 ? 1 : 0;
}
