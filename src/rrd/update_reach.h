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

// The parts of a file, whose checked header is `header`, that an update with samples up to
// `lastTime` may change: the header from the last update on, and the rows to come. They may be more
// than is changed, but never less.
std::vector<Extent> FindReach(const std::string& header, long long lastTime);

// The newest rows of each archive that such an update leaves as they are; some dozens at most.
std::vector<Extent> FindRowsBefore(const std::string& header, long long lastTime);

// Whether `now` is a header that such an update may have left at any point of interruption.
bool IsWithinReach(const std::string& header, long long lastTime, const std::string& now);

}  // namespace nvx::TimeSeriesDatabase::Rrd
