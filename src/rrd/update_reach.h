#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::Rrd {

// A part of a file, in bytes.
struct Extent {
  std::uint64_t offset;
  std::uint64_t size;
};

// What an update with samples up to `lastTime` may change in a file whose checked header is
// `header`: the header from the last update on, and the rows to come. It may be more than is
// changed, never less.
std::vector<Extent> FindReach(const std::string& header, long long lastTime);

// Whether `now` is a header that such an update may have left, wherever it was interrupted.
bool IsWithinReach(const std::string& header, long long lastTime, const std::string& now);

}  // namespace nvx::TimeSeriesDatabase::Rrd
