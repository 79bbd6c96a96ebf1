#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace nvx::TimeSeriesDatabase::Rrd {

// Eight bytes at a time. Each step is reversible, so texts that differ in a single word always have
// different sums.
inline std::uint64_t ComputeChecksum(std::string_view bytes) {
  constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15;
  std::uint64_t sum = bytes.size();
  while (!bytes.empty()) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), bytes.size() < sizeof word ? bytes.size() : sizeof word);
    bytes.remove_prefix(bytes.size() < sizeof word ? bytes.size() : sizeof word);
    sum = (sum ^ word) * FACTOR;
    sum ^= sum >> 32;
  }
  return sum;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
