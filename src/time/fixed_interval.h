#pragma once

#include "timeseries/query_interval.h"

namespace nvx::TimeSeriesDatabase {

inline constexpr long long FIXED_SECONDS[] = {60,  120, 180,  300,  360, 600,
                                              720, 900, 1200, 1800, 3600};

// The length in seconds of an interval with a fixed length, OneMinute to Hour; 0 for any other.
constexpr long long FixedSeconds(QueryInterval interval) {
  const auto index = static_cast<unsigned int>(interval);
  return index < sizeof FIXED_SECONDS / sizeof *FIXED_SECONDS ? FIXED_SECONDS[index] : 0;
}

}  // namespace nvx::TimeSeriesDatabase
