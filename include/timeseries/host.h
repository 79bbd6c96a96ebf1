#pragma once

// The library's one meeting point with the host platform. The headers named here are the
// platform's. They keep default visibility, which the inline instance of the logger needs to be the
// only one of the process.

#pragma GCC visibility push(default)
#include <nvx/date_time_encoder.h>
#include <nvx/file_system.h>
#include <nvx/log_level.h>
#include <nvx/redis_client_interface.h>
#include <nvx/root_logger.h>
#include <nvx/status_code.h>
#pragma GCC visibility pop

namespace nvx::TimeSeriesDatabase {

using nv::kora::KoraLogLevel;
using nv::kora::RedisClientInterface;
using nv::kora::StatusCode;

}  // namespace nvx::TimeSeriesDatabase
