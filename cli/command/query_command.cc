#include <iostream>
#include <memory>

#include "command/commands.h"
#include "command/selected_files.h"
#include "input/choice.h"
#include "output/point_format.h"
#include "output/terminal.h"
#include "query/answer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class PointFormat { Table, Csv, Json };

struct QueryOptions {
  std::string zeltId;
  WindowOptions window;
  PointOptions points;
  PointFormat format = PointFormat::Table;
};

void Print(const Points& points, PointFormat format) {
  switch (format) {
    case PointFormat::Table:
      return PrintTable(points, GetTerminalColumns(), std::cout);
    case PointFormat::Csv:
      return PrintCsv(points, std::cout);
    case PointFormat::Json:
      return PrintJson(points, std::cout);
  }
}

void Run(const QueryOptions& options, Context& context) {
  const Question question = ReadQuestion(options.window, options.points);
  const Answer answer = FindAnswer(question, OpenQuery(options.zeltId, question.interval, context));
  if (answer.isPartialData) {
    context.exitStatus = EXIT_PARTIAL_DATA;
  }
  Print(answer.series.front(), options.format);
}

}  // namespace

void AddQueryCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("query", "Print one value per complete interval of a window");
  const auto options = std::make_shared<QueryOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  AddPointOptions(*command, options->points)->required();
  AddWindowOptions(*command, options->window);
  AddChoice(*command, "--format", options->format,
            {{"table", PointFormat::Table}, {"csv", PointFormat::Csv}, {"json", PointFormat::Json}},
            "Form of the output (default: table)")
      ->type_name("FORMAT");
  command->footer(GetQuestionHelp());
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
