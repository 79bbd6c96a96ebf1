#include <algorithm>
#include <memory>

#include "arguments/choice.h"
#include "base/message.h"
#include "command/commands.h"
#include "formats/csv_format.h"
#include "formats/line_protocol.h"
#include "formats/open_metrics.h"
#include "points/answer.h"
#include "points/export_question.h"
#include "points/file_list.h"
#include "points/selected_files.h"
#include "replace/output_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class FormatName { LineProtocol, OpenMetrics, Csv };

struct ExportCommandOptions {
  ExportOptions what;
  FormatName format = FormatName::LineProtocol;
  std::optional<std::string> output;
};

std::unique_ptr<SeriesFormat> MakeFormat(FormatName name, const Labels& labels) {
  switch (name) {
    case FormatName::OpenMetrics:
      return std::make_unique<OpenMetrics>(labels);
    case FormatName::Csv:
      return std::make_unique<CsvFormat>();
    default:
      return std::make_unique<LineProtocol>();
  }
}

// Writes the files in one format to one place.
class Exporter {
 public:
  Exporter(const ExportQuestion& exportQuestion, SeriesFormat& seriesFormat, OutputFile& outputFile,
           Context& commandContext)
      : question(exportQuestion),
        format(seriesFormat),
        output(outputFile),
        context(commandContext) {}

  void Run(const FileList& list) {
    format.AppendHeader(MakeSeries(question, list.files.front()), text);
    // The files of one scope stand together.
    for (auto begin = list.files.begin(); begin != list.files.end();) {
      const ExportedSeries series = MakeSeries(question, *begin);
      const auto end = std::find_if(begin, list.files.end(), [&](const ListedFile& file) {
        return file.GetScope() != series.scope;
      });
      const FileList ofScope{{begin, end}, list.isSeveral};
      for (int round = 0; round < format.GetRoundCount(series); ++round) {
        ForEachFile(ofScope, context, [&](const ListedFile& file) { Export(file, round); });
      }
      begin = end;
    }
    format.AppendTrailer(text);
    output.Write(text);
    if (format.GetLeftOutCount() > 0) {
      PrintMessage(std::to_string(format.GetLeftOutCount()) +
                   " infinite values left out, for which the format has no form");
    }
  }

 private:
  void Export(const ListedFile& file, int round) {
    if (isOver) {
      return;
    }
    const Query query = OpenExportQuery(question, file.zeltId, context);
    format.Begin(MakeSeries(question, file), round, text);
    const StreamResult result =
        StreamAnswer(question, query, std::nullopt, [this](const Piece& piece) {
          format.Append(piece, text);
          isOver = !output.Write(text);
          text.clear();
          return !isOver;
        });
    if (round > 0 || result == StreamResult::Done) {
      return;
    }
    if (result == StreamResult::Nothing) {
      PrintMessage(file.zeltId + (question.interval ? ": no complete interval in the window"
                                                    : ": no sample in the window"));
    } else {
      TellPartialData(query);
      context.NotePartialData();
    }
  }

  const ExportQuestion& question;
  SeriesFormat& format;
  OutputFile& output;
  Context& context;
  std::string text;
  bool isOver = false;  // since nobody reads any more
};

void Export(const ExportCommandOptions& options, Context& context) {
  const ExportQuestion question = ReadExportQuestion(options.what);
  const std::unique_ptr<SeriesFormat> format = MakeFormat(options.format, question.labels);
  const FileList list = ListFiles(options.what.zeltIds, context);
  OutputFile output(options.output);
  Exporter(question, *format, output, context).Run(list);
  if (output.IsFile() && context.exitStatus == EXIT_FAILED) {
    throw CommandError(*options.output, "not written, since a data source failed",
                       StatusCode::Failure);
  }
  output.Finish();
}

constexpr char FORMAT_HELP[] =
    "line-protocol is what InfluxDB and many others take: the scope with the labels as tags, the\n"
    "field value, for points of intervals the field quality (true or false), and seconds.\n"
    "openmetrics has the same as topo_value and topo_quality. A missing sample is left out, but\n"
    "in csv its value is empty. Of several directories (-d), each series gets the label\n"
    "directory, the directory's name.";

}  // namespace

void AddExportCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "export", "Write all samples, or a point per interval, for another database");
  const auto options = std::make_shared<ExportCommandOptions>();
  AddExportOptions(*command, options->what);
  AddChoice(*command, "--format", options->format,
            {{"line-protocol", FormatName::LineProtocol},
             {"openmetrics", FormatName::OpenMetrics},
             {"csv", FormatName::Csv}},
            "line-protocol, openmetrics or csv")
      ->required()
      ->type_name("FORMAT");
  command
      ->add_option("--output", options->output,
                   "File to make or replace (default: standard output)")
      ->type_name("FILE");
  command->footer(std::string(PATTERN_HELP) + "\n" + FORMAT_HELP + "\n" + GetQuestionHelp());
  command->callback([options, &context] { Export(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
