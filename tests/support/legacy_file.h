#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/files.h"

// The measured files, each in both layouts.
constexpr const char* LEGACY_NAMES[] = {"gauge", "two-sources", "daily-many", "never-updated"};

inline std::string ReadLegacy(const std::string& name) {
  return ReadFile(TEST_DATA "/legacy/" + name + ".legacy.rrd");
}

inline std::string ReadConverted(const std::string& name) {
  return ReadFile(TEST_DATA "/legacy/" + name + ".converted.rrd");
}

// Puts a number of 32 bits into the bytes of a file.
inline void Put32(std::string& bytes, std::size_t offset, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[offset + i] = static_cast<char>(number >> (8 * i));
  }
}

// A file in the legacy layout and its expected conversion. Everything that a converter only copies
// is random.
struct LegacyFile {
  std::string legacy;
  std::string converted;

  LegacyFile(std::uint32_t dsCount, const std::vector<std::uint32_t>& rowCounts) {
    const std::size_t rraCount = rowCounts.size();
    const std::size_t liveHead = 120 + 120 * dsCount + 112 * rraCount;
    std::size_t size = liveHead + 8 + 112 * dsCount + 80 * dsCount * rraCount + 4 * rraCount;
    for (const std::uint32_t rowCount : rowCounts) {
      size += std::size_t{8} * dsCount * rowCount;
    }
    std::mt19937 random(dsCount);
    std::generate_n(std::back_inserter(legacy), size, [&] { return static_cast<char>(random()); });
    legacy.replace(0, 8, std::string("RRD\0000003", 8));
    Put32(legacy, 24, dsCount);
    Put32(legacy, 28, static_cast<std::uint32_t>(rraCount));
    for (std::size_t rra = 0; rra < rraCount; ++rra) {
      Put32(legacy, 120 + 120 * dsCount + 112 * rra + 20, rowCounts[rra]);
    }
    Put32(legacy, liveHead, 0x80000000 | dsCount);  // a time after 2038
    converted = legacy;
    converted.insert(liveHead + 4, 4, '\0').insert(liveHead + 12, 4, '\0');
  }
};
