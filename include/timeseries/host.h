#pragma once

// All that the library uses of the host platform: these headers are the platform's. They keep
// default visibility, so that the inline instance of the logger is the only one in the process.

#pragma GCC visibility push(default)
#include <nvx/date_time_encoder.h>
#include <nvx/file_system.h>
#include <nvx/log_level.h>
#include <nvx/redis_client_interface.h>
#include <nvx/root_logger.h>
#pragma GCC visibility pop

#include "timeseries/host_fwd.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

using nv::kora::KoraLogLevel;

}  // namespace nvx::TimeSeriesDatabase
