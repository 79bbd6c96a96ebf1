#pragma once

#include <string>

#include "timeseries/failure.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// Keep the reason of a failure for Failure. They allocate nothing, so that they can be called when
// there is no memory left.
void KeepFailure(const char* format, ...) noexcept __attribute__((cold, format(printf, 1, 2)));

// The same for a kind that callers can ask for.
void KeepFailure(FailureKind kind, const char* reason) noexcept __attribute__((cold));

// FileSystem::CheckFileExist; keeps its failure.
StatusCode CheckFileExist(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase
