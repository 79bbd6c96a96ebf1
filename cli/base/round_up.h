#pragma once

namespace nvx::TimeSeriesDatabase::CommandLine {

// The multiple of `step` at a time or after it, from 1970 on; that is the row which a sample of the
// time belongs to.
constexpr long long RoundUp(long long time, long long step) {
  return (time + step - 1) / step * step;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
