// Where there is no HTTP client.

#include "command/commands.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void AddPushCommand(CLI::App& /*app*/, Context& /*context*/) {}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
