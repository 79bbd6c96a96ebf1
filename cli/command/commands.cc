#include "command/commands.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void AddCommands(CLI::App& app, Context& context) {
  AddCreateCommand(app, context);
  AddMigrateCommand(app, context);
  AddUpdateCommand(app, context);
  AddListCommand(app, context);
  AddInfoCommand(app, context);
  AddLastCommand(app, context);
  AddQueryCommand(app, context);
  AddExportCommand(app, context);
  AddPushCommand(app, context);
  AddCheckCommand(app, context);
  AddRecoverCommand(app, context);
  AddConvertCommand(app, context);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
