#pragma once

// The names of the host platform's services, enough to hold references to them. To make or to call
// one, include "timeseries/host.h".

#pragma GCC visibility push(default)
namespace nv::kora {
class RedisClientInterface;
}

namespace nvx::Utilities {
class FileSystem;
}
#pragma GCC visibility pop

namespace nvx::TimeSeriesDatabase {

using nv::kora::RedisClientInterface;

}  // namespace nvx::TimeSeriesDatabase
