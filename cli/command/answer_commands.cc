#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/command_error.h"
#include "command/choice.h"
#include "command/commands.h"
#include "command/question_options.h"
#include "command/shared_options.h"
#include "formats/point_writer.h"
#include "points/point_stream.h"
#include "points/selected_files.h"
#include "replace/output_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Of the commands that write points: a question, the files to ask, and a format.
struct AnswerOptions {
  std::vector<std::string> zeltIds;
  QuestionOptions question;
  SelectionOptions selection;
  std::vector<std::string> sources;  // names; none for all of each file
  std::optional<PointFormat> format;
  std::optional<std::string> output;
  bool isForSeries = false;  // CSV and JSON for another database
};

AnswerShape MakeShape(const AnswerOptions& options, const Question& question,
                      const Selection& selection, const OutputFile& output) {
  AnswerShape shape;
  shape.zone = question.zone;
  shape.names = question.GetValueNames();
  shape.functions = question.interval ? GetNames(question.functions) : shape.names;
  if (question.interval && !question.isUnadjusted) {  // else a first point is on no bound
    shape.unit = question.interval->GetCalendar().unit;
  }
  shape.isSeveral = selection.isSeveral;
  shape.hasQuality = question.interval.has_value();
  shape.isForSeries = options.isForSeries;
  shape.labels = question.labels;
  shape.isOnTerminal = !output.IsFile();
  return shape;
}

// Which columns CSV has beside those of the options, which its first line must tell. Returns the
// sources of a single file, so that it is not opened again.
std::vector<Source> FindColumns(const AnswerOptions& options, const Question& question,
                                const Selection& selection, Context& context, AnswerShape& shape) {
  std::vector<Source> opened;
  for (const SelectedFile& file : selection.files) {
    shape.labels.insert(file.labels.begin(), file.labels.end());
    if (*options.format != PointFormat::Csv || (shape.hasSources && shape.hasConsolidation)) {
      continue;
    }
    try {
      opened = OpenSources(question, file, options.sources, context);
      for (const Source& source : opened) {
        shape.hasSources |= !source.sourceName.empty();
        shape.hasConsolidation |= !source.consolidation.empty();
      }
    } catch (const CommandError&) {  // it is told when the file is to answer
    }
  }
  if (shape.hasSources) {
    shape.labels.emplace(SOURCE_LABEL, "");
  }
  if (shape.hasConsolidation) {
    shape.labels.emplace(CONSOLIDATION_LABEL, "");
  }
  return selection.files.size() == 1 ? opened : std::vector<Source>();
}

// Writes the answers of files in one format to one place.
class AnswerWriter {
 public:
  AnswerWriter(const Question& askedQuestion, const std::vector<std::string>& names,
               std::vector<Source> openedSources, PointWriter& pointWriter, OutputFile& outputFile,
               Context& commandContext)
      : question(askedQuestion),
        sourceNames(names),
        opened(std::move(openedSources)),
        writer(pointWriter),
        output(outputFile),
        context(commandContext) {}

  // A format with several rounds needs the files of one scope together. In all rounds they are as
  // they were described for the first one; rows that have left since are an error.
  void Write(const Selection& selection) {
    const auto& files = selection.files;
    for (auto begin = files.begin(); begin != files.end();) {
      const auto end = writer.GetRoundCount() == 1 ? files.end() : FindScopeEnd(begin, files.end());
      ForEachFile({{begin, end}, selection.isSeveral}, context,
                  [&](const SelectedFile& file) { WriteFile(file); });
      for (int round = 1; round < writer.GetRoundCount(); ++round) {
        WriteRound(round);
      }
      answered.clear();
      begin = end;
    }
    writer.Finish(text);
    output.Write(text);
    if (writer.GetLeftOutCount() > 0) {
      PrintMessage(std::to_string(writer.GetLeftOutCount()) +
                   " infinite values left out, which the format cannot express");
    }
    context.rowTally.Tell();
  }

 private:
  using Files = std::vector<SelectedFile>::const_iterator;

  static Files FindScopeEnd(Files begin, Files end) {
    return std::find_if(begin, end, [begin](const SelectedFile& file) {
      return file.GetScope() != begin->GetScope();
    });
  }

  void WriteFile(const SelectedFile& file) {
    const std::vector<Source> sources =
        opened.empty() ? OpenSources(question, file, sourceNames, context) : opened;
    ForEachSource(sources, context, [&](const Source& described) {
      const Source source = DescribeForTurn(question, sources, described);
      const Series series = MakeSeries(file, source, question.labels);
      WriteSource(series, source, 0, source.column == sources.front().column);
      if (writer.GetRoundCount() > 1) {
        answered.emplace_back(series, source);
      }
    });
  }

  void WriteRound(int round) {
    for (const auto& [series, source] : answered) {
      try {
        WriteSource(series, source, round, false);
      } catch (const CommandError& error) {
        if (answered.size() == 1) {
          throw;
        }
        context.TellFailure(error);
      }
    }
  }

  void WriteSource(const Series& series, const Source& source, int round, bool isTold) {
    if (isOver) {
      return;
    }
    writer.Begin(series, round, text);
    const std::unique_ptr<PointStream> stream = MakePointStream(question, source);
    if (round == 0) {
      Tell(*stream, source, isTold);
    }
    stream->Stream([this](const Piece& piece) {
      writer.Append(piece, text);
      isOver = !output.Write(text);
      text.clear();
      return !isOver;
    });
    writer.End();
  }

  // Of several data sources, which archives answer is told once.
  void Tell(const PointStream& stream, const Source& source, bool isTold) {
    if (isTold) {
      stream.Tell();
    }
    if (stream.IsEmpty()) {
      PrintMessage(source.name + ": no sample in the window");
    }
    if (stream.IsPartialData()) {
      context.NotePartialData();
    }
  }

  const Question& question;
  const std::vector<std::string>& sourceNames;
  const std::vector<Source> opened;  // of the only file, where it is open
  PointWriter& writer;
  OutputFile& output;
  Context& context;
  std::vector<std::pair<Series, Source>> answered;  // in the first of several rounds
  std::string text;
  bool isOver = false;  // the reader has gone
};

constexpr char FORMAT_HELP[] =
    "csv and json have values with all digits, chart draws in the terminal, gnuplot is a script, "
    "as in: query ... --format gnuplot | gnuplot >points.png. line-protocol is what InfluxDB and "
    "many others take: the scope with the labels as tags, the field value or a field for each of "
    "several functions, for points of intervals the field quality (true or false), and seconds. "
    "openmetrics has the same as topo_value and topo_quality. Both leave a missing value out; it "
    "is nan in the csv of query, empty in that of export, and null in json.";

void WriteAnswers(const AnswerOptions& options, Context& context) {
  Question question = ReadQuestion(options.question);
  Selection selection = SelectFiles(options.zeltIds, context, options.selection);
  OutputFile output(options.output);
  AnswerShape shape = MakeShape(options, question, selection, output);
  std::vector<Source> opened = FindColumns(options, question, selection, context, shape);
  const std::unique_ptr<PointWriter> writer = MakePointWriter(*options.format, shape);
  question.isAtOnce = writer->IsAtOnce();
  if (options.isForSeries || writer->GetRoundCount() > 1) {
    selection.SortByScope();
  }
  AnswerWriter(question, options.sources, std::move(opened), *writer, output, context)
      .Write(selection);
  if (output.IsFile() && context.exitStatus == EXIT_FAILED) {
    throw CommandError(*options.output, "not written, since a data source failed",
                       StatusCode::Failure);
  }
  output.Finish();
}

struct AddedOptions {
  CLI::Option* zeltIds;
  CLI::Option* interval;
  CLI::Option* format;
};

AddedOptions AddAnswerOptions(CLI::App& command, AnswerOptions& options) {
  AddedOptions added{};
  added.zeltIds =
      command.add_option("ID", options.zeltIds, "Data sources, or patterns of their ids")
          ->type_name("");
  AddSourceOption(command, options.sources);
  added.interval = AddQuestionOptions(command, options.question);
  added.format =
      AddChoice(command, "--format", options.format,
                Choices<std::optional<PointFormat>>{{"table", PointFormat::Table},
                                                    {"csv", PointFormat::Csv},
                                                    {"json", PointFormat::Json},
                                                    {"chart", PointFormat::Chart},
                                                    {"gnuplot", PointFormat::Gnuplot},
                                                    {"line-protocol", PointFormat::LineProtocol},
                                                    {"openmetrics", PointFormat::OpenMetrics}},
                "table, csv, json, chart, gnuplot, line-protocol or openmetrics")
          ->type_name("FORMAT");
  command
      .add_option("--output", options.output, "File to make or replace (default: standard output)")
      ->type_name("FILE");
  command.footer(std::string(PATTERN_HELP) + "\n" + FORMAT_HELP + "\n" + GetQuestionHelp());
  return added;
}

}  // namespace

void AddQueryCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("query", "Print one value per complete interval of a window");
  const auto options = std::make_shared<AnswerOptions>();
  options->format = PointFormat::Table;
  const AddedOptions added = AddAnswerOptions(*command, *options);
  added.zeltIds->required();
  added.interval->required();
  command->callback([options, &context] {
    context.GetDirectory();  // which must be one
    WriteAnswers(*options, context);
  });
}

void AddExportCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "export", "Write all samples, or a point per interval, for another database");
  const auto options = std::make_shared<AnswerOptions>();
  options->isForSeries = true;
  AddAnswerOptions(*command, *options).format->required();
  AddLabelOption(*command, options->question);
  AddSelectionOptions(*command, options->selection);
  command->callback([options, &context] { WriteAnswers(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
