#pragma once

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase {

// What a caller can do about a failure depends on its kind; most need none.
enum class FailureKind {
  Other,
  Locked,      // another process held the file's lock; the same call may succeed a moment later
  CutOff,      // the file has lost its end, and values with it
  NotUndone,   // an interrupted update is to be undone, by a process that may write the file
  BadJournal,  // the file's journal cannot be opened or read, or may not be trusted
};

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

  // Other, too, when nothing has failed.
  static FailureKind GetKind() noexcept;

  // Whether another process held the lock of the file.
  static bool IsLocked() noexcept;
};

}  // namespace nvx::TimeSeriesDatabase
