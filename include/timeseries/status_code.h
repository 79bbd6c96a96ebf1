#pragma once

// The outcome of an operation. The enumeration is the host platform's; <nvx/status_code.h> has its
// values.

#pragma GCC visibility push(default)
#include <nvx/status_code.h>
#pragma GCC visibility pop

namespace nvx::TimeSeriesDatabase {

using nv::kora::StatusCode;

}  // namespace nvx::TimeSeriesDatabase
