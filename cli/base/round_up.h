#pragma once

namespace nvx::TimeSeriesDatabase::CommandLine {

// The first multiple of `step` at a time or after it, from 1970 on: the row of a sample of that
// time.
constexpr long long RoundUp(long long time, long long step) {
  return (time + step - 1) / step * step;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
