#pragma once

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase {

// Why the calling thread's last failed operation failed. As with errno, an operation that succeeds
// leaves it as it was, so it is asked right after a code that tells a failure:
//
//   const StatusCode status = rrd.Update(path, samples);
//   if (status != StatusCode::Success) {
//     std::fprintf(stderr, "%s: %s\n", path.c_str(), Failure::GetReason());
//     mayTryAgain = Failure::IsLocked();
//   }
//
// Every operation that detects a failure keeps its reason, whatever the level of the log. Only the
// data functions keep none, and PartialData and EndOfIteration are no failures.
class NVX_TIMESERIES_EXPORT Failure {
 public:
  Failure() = delete;

  // In words, of the RRD library or of this one: at most 1023 bytes, cut where there would be more;
  // empty when nothing has failed. The text changes with the thread's next failure.
  static const char* GetReason() noexcept;

  // Whether another process held the lock of the file. The same call may succeed a moment later.
  static bool IsLocked() noexcept;
};

}  // namespace nvx::TimeSeriesDatabase
