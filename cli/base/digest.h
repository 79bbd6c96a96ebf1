#pragma once

#include <cstdint>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A number that two texts hardly share, the same on every machine (FNV-1a).
inline std::string ComputeDigest(const std::string& text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3;
  }
  return std::to_string(hash);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
