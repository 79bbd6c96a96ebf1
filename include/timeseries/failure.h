#pragma once

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase {

// Why the calling thread's last failed operation failed. As with errno, an operation that succeeds
// leaves it unchanged, so ask for it only after a code that means a failure:
//
//   const StatusCode status = rrd.Update(path, samples);
//   if (status != StatusCode::Success) {
//     std::fprintf(stderr, "%s: %s\n", path.c_str(), Failure::GetReason());
//     mayTryAgain = Failure::IsLocked();
//   }
//
// Every operation that detects a failure keeps its reason, whatever the level of the log. The data
// functions alone keep none. PartialData and EndOfIteration are not failures.
class NVX_TIMESERIES_EXPORT Failure {
 public:
  Failure() = delete;

  // The words of the RRD library or of this one, cut after 1023 bytes; empty when nothing has
  // failed. The text changes with the thread's next failure.
  static const char* GetReason() noexcept;

  // Whether another process held the lock of the file. The same call may succeed a moment later.
  static bool IsLocked() noexcept;
};

}  // namespace nvx::TimeSeriesDatabase
