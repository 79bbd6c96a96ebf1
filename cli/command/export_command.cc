#include <memory>

#include "command/answer_command.h"
#include "command/commands.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void AddExportCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "export", "Write all samples, or a point per interval, for another database");
  const auto options = std::make_shared<AnswerOptions>();
  options->isForSeries = true;
  AddAnswerOptions(*command, *options).format->required();
  AddLabelOption(*command, options->question);
  AddSelectionOptions(*command, options->selection);
  command->footer(GetAnswerHelp());
  command->callback([options, &context] { WriteAnswers(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
