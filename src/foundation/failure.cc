#include "timeseries/failure.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "foundation/failure.h"
#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase {
namespace {

// Without constructor and destructor: it costs nothing until it is used, and can still be used
// while the process ends.
struct LastFailure {
  char reason[1024];
  FailureKind kind;
};
thread_local LastFailure last;

}  // namespace

void KeepFailure(const char* format, ...) noexcept {
  const int error = errno;  // the caller has yet to log it
  std::va_list values;
  va_start(values, format);
  std::vsnprintf(last.reason, sizeof last.reason, format, values);
  va_end(values);
  last.kind = FailureKind::Other;
  errno = error;
}

void KeepFailure(FailureKind kind, const char* reason) noexcept {
  KeepFailure("%s", reason);
  last.kind = kind;
}

StatusCode CheckFileExist(const std::string& path) {
  const StatusCode rc = Utilities::FileSystem::CheckFileExist(path);
  if (rc != StatusCode::Success) {
    KeepFailure("there is no file '%s'", path.c_str());
  }
  return rc;
}

const char* Failure::GetReason() noexcept { return last.reason; }

FailureKind Failure::GetKind() noexcept { return last.kind; }

bool Failure::IsLocked() noexcept { return last.kind == FailureKind::Locked; }

}  // namespace nvx::TimeSeriesDatabase
