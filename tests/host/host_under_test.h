#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "timeseries/host.h"

// What the tests of a host platform need in addition to the services that the library calls. The
// platform implements it.
namespace HostUnderTest {

// Sets the level of the logger.
void SetLogLevel(nv::kora::KoraLogLevel level);

// Calls `work` and returns the lines that it logged, each at least from its first "[" on.
std::vector<std::string> CaptureLog(void (*work)());

// A client of a store in which one hash, "key", has these fields.
std::unique_ptr<nv::kora::RedisClientInterface> MakeStore(
    const std::map<std::string, std::string>& fields);

}  // namespace HostUnderTest
