#pragma once

#include <algorithm>
#include <limits>

namespace nvx::TimeSeriesDatabase::Rrd {

// The number of the step that an instant lies in, modulo 2^64. It is rounded down before 1970 too,
// so that positions keep their order across the epoch.
inline unsigned long long StepNumber(long long timestamp, unsigned long long step) {
  if (timestamp >= 0) {
    return static_cast<unsigned long long>(timestamp) / step;
  }
  return ~(static_cast<unsigned long long>(-1 - timestamp) / step);
}

// The sample of the instant `to`, given that of the instant `from`; at most `last`, the last sample
// of the buffer, or null where that is not known.
inline const double* FindSample(const double* sample, const double* last, long long from,
                                long long to, unsigned long long step) {
  const unsigned long long toEnd = last == nullptr ? std::numeric_limits<unsigned long long>::max()
                                                   : static_cast<unsigned long long>(last - sample);
  return sample + std::min(StepNumber(to, step) - StepNumber(from, step), toEnd);
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
