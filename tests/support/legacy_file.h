#pragma once

#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

// Puts a number of 32 bits into the bytes of a file.
inline void Put32(std::string& bytes, std::size_t offset, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[offset + i] = static_cast<char>(number >> (8 * i));
  }
}

// The first 120 bytes of a file with these counts. The fourth is free.
inline std::string MakeStatHead(std::uint32_t dsCount, std::uint32_t rraCount) {
  std::string head(120, '\0');
  head.replace(0, 8,
               std::string("RRD\0"
                           "0003",
                           8));
  Put32(head, 24, dsCount);
  Put32(head, 28, rraCount);
  return head;
}

// A file in the legacy layout and what it has to become. All that a converter only copies is
// random.
struct LegacyFile {
  std::string legacy;
  std::string converted;

  LegacyFile(std::uint32_t dsCount, const std::vector<std::uint32_t>& rowCounts) {
    const auto rraCount = static_cast<std::uint32_t>(rowCounts.size());
    const std::size_t liveHead = 120 + 120 * dsCount + 112 * rraCount;
    std::size_t size = liveHead + 8 + 112 * dsCount + 80 * dsCount * rraCount + 4 * rraCount;
    for (const std::uint32_t rowCount : rowCounts) {
      size += std::size_t{8} * dsCount * rowCount;
    }
    std::mt19937 random(dsCount + rraCount);
    while (legacy.size() < size) {
      legacy.append(4, '\0');
      Put32(legacy, legacy.size() - 4, static_cast<std::uint32_t>(random()));
    }
    legacy.replace(0, 120, MakeStatHead(dsCount, rraCount));
    for (std::size_t rra = 0; rra < rraCount; ++rra) {
      Put32(legacy, 120 + 120 * dsCount + 112 * rra + 20, rowCounts[rra]);
    }
    Put32(legacy, liveHead, 0x80000000 | dsCount);  // a time after 2038
    const std::string zero(4, '\0');
    converted = legacy.substr(0, liveHead + 4) + zero + legacy.substr(liveHead + 4, 4) + zero +
                legacy.substr(liveHead + 8);
  }
};
