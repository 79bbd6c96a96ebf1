#include <memory>

#include "arguments/choice.h"
#include "command/commands.h"
#include "formats/point_format.h"
#include "points/answer.h"
#include "points/selected_files.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct QueryOptions {
  std::vector<std::string> zeltIds;
  WindowOptions window;
  PointOptions points;
  PointFormat format = PointFormat::Table;
};

void Run(const QueryOptions& options, Context& context) {
  const Question question = ReadQuestion(options.window, options.points);
  const Selection selection = SelectFiles(options.zeltIds, context);
  const std::unique_ptr<PointWriter> writer =
      MakePointWriter(options.format, {GetNames(question.functions), selection.isSeveral});
  ForEachFile(selection, context, [&](const std::string& zeltId) {
    Answer answer = FindAnswer(question, OpenQuery(zeltId, question.interval, context));
    if (answer.isPartialData) {
      context.NotePartialData();
    }
    writer->Add(zeltId, std::move(answer.series));
  });
  writer->Finish();
}

}  // namespace

void AddQueryCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("query", "Print one value per complete interval of a window");
  const auto options = std::make_shared<QueryOptions>();
  command->add_option("ID", options->zeltIds, "Data sources, or patterns of their ids")
      ->required()
      ->type_name("");
  AddPointOptions(*command, options->points)->required();
  AddWindowOptions(*command, options->window);
  AddChoice(*command, "--format", options->format,
            {{"table", PointFormat::Table},
             {"csv", PointFormat::Csv},
             {"json", PointFormat::Json},
             {"chart", PointFormat::Chart},
             {"gnuplot", PointFormat::Gnuplot}},
            "Form of the output (default: table); chart draws in the terminal, gnuplot is a\n"
            "script, such as for: ... --format gnuplot | gnuplot >points.png")
      ->type_name("FORMAT");
  command->footer(std::string(PATTERN_HELP) + "\n" + GetQuestionHelp());
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
