#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>

// Random numbers that can be repeated: the same in every run, unless NVX_TEST_SEED sets another
// seed. Prints the seed.
class Random {
 public:
  Random() {
    const char* const wanted = std::getenv("NVX_TEST_SEED");
    const unsigned long seed = wanted == nullptr ? 1 : std::strtoul(wanted, nullptr, 10);
    std::cout << "NVX_TEST_SEED=" << seed << '\n';
    engine.seed(seed);
  }

  explicit Random(unsigned long seed) : engine(seed) {}

  // 64 bits.
  std::uint64_t operator()() { return engine(); }

  // Less than `count`.
  std::size_t Below(std::size_t count) { return static_cast<std::size_t>(engine() % count); }

  // From `low` to `high`, both included.
  long long Between(long long low, long long high) {
    return std::uniform_int_distribution<long long>(low, high)(engine);
  }

  template <typename Container>
  const auto& Pick(const Container& from) {
    const long long last = static_cast<long long>(std::size(from)) - 1;
    return std::begin(from)[static_cast<std::ptrdiff_t>(Between(0, last))];
  }

 private:
  std::mt19937_64 engine;
};
