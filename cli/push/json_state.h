#pragma once

#include <map>
#include <string>

#include "push/push_state.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

using ConfirmedByServer = std::map<std::string, ConfirmedTimes>;

// Reads a state in the older format, JSON. Throws std::runtime_error for any other file.
ConfirmedByServer ReadJsonState(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
