#include <memory>

#include "command/answer_command.h"
#include "command/commands.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void AddQueryCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("query", "Print one value per complete interval of a window");
  const auto options = std::make_shared<AnswerOptions>();
  options->format = PointFormat::Table;
  const AddedOptions added = AddAnswerOptions(*command, *options);
  added.zeltIds->required();
  added.interval->required();
  command->footer(GetAnswerHelp());
  command->callback([options, &context] {
    context.GetDirectory();  // which must be one
    WriteAnswers(*options, context);
  });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
