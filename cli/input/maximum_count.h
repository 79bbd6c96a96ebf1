#pragma once

namespace nvx::TimeSeriesDatabase::CommandLine {

// The rows of a new file, the samples of a fetch and the points of an answer lie in memory as a
// whole; this bounds each of them.
constexpr long long MAXIMUM_COUNT = 1LL << 25;

}  // namespace nvx::TimeSeriesDatabase::CommandLine
