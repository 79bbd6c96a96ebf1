#pragma once

#include <string>

#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// Keep the reason of a failure for Failure. They allocate nothing, so that they can be called when
// memory is out.
void KeepFailure(const char* format, ...) noexcept __attribute__((cold, format(printf, 1, 2)));

// Keeps that of a file which another process has locked.
void KeepLock(const char* words) noexcept __attribute__((cold));

// FileSystem::CheckFileExist, of which a failure is kept.
StatusCode CheckFileExist(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase
