#pragma once

#include "points/context.h"

namespace CLI {
class App;
}  // namespace CLI

// Each function but the last adds one command to the program. The command runs while the arguments
// are parsed, after the global options are set, and ends with CommandError when it fails; what is
// wrong with its usage it reports as CLI::ParseError.
namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char PUSH_DESCRIPTION[] = "Send new samples to another time-series server";

void AddCreateCommand(CLI::App& app, Context& context);
void AddMigrateCommand(CLI::App& app, Context& context);
void AddUpdateCommand(CLI::App& app, Context& context);
void AddListCommand(CLI::App& app, Context& context);
void AddInfoCommand(CLI::App& app, Context& context);
void AddLastCommand(CLI::App& app, Context& context);
void AddQueryCommand(CLI::App& app, Context& context);
void AddExportCommand(CLI::App& app, Context& context);
void AddPushCommand(CLI::App& app, Context& context);  // adds none without an HTTP client
void AddCheckCommand(CLI::App& app, Context& context);
void AddRecoverCommand(CLI::App& app, Context& context);
void AddConvertCommand(CLI::App& app, Context& context);

// Adds those of the program: the one that pushes has no other command.
void AddCommands(CLI::App& app, Context& context);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
