#include <algorithm>
#include <iostream>
#include <memory>

#include "command/commands.h"
#include "files/described_file.h"
#include "input/interval_text.h"
#include "input/time_text.h"
#include "output/message.h"
#include "output/point_format.h"
#include "output/terminal.h"
#include "query/query.h"
#include "query/single_point.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class PointFormat { Table, Csv, Json };

struct QueryOptions {
  std::string zeltId;
  std::string interval;
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::string zoneName = "UTC";
  PointFunction function = ListPointFunctions().front().second;
  PointFormat format = PointFormat::Table;
  bool isUnadjusted = false;
  bool isPartial = false;
};

// What is asked of any file.
struct Question {
  QueryInterval interval;
  cctz::time_zone zone;
  std::optional<long long> from;
  std::optional<long long> to;
};

Question ReadQuestion(const QueryOptions& options) {
  Question question{ReadInterval(options.interval), LoadZone(options.zoneName), {}, {}};
  if (options.from) {
    question.from = ReadTime(*options.from, question.zone);
  }
  if (options.to) {
    question.to = ReadTime(*options.to, question.zone);
  }
  if (question.from && question.to && *question.from >= *question.to) {
    throw CLI::ValidationError("--to", "is not after --from");
  }
  if (options.isPartial && question.interval == QueryInterval::FullPeriod) {
    throw CLI::ValidationError("--partial", "the interval all is never cut");
  }
  return question;
}

// A stored timestamp may be any number, and archives may reach back behind 1970, but no sample can.
long long GetFirst(const Query& query, Context& context) {
  long long first = 0;
  Require(context.MakeDataSource(query.path).GetFirstTimestamp(first), query.zeltId,
          "its first timestamp cannot be read");
  return std::max(ClampTime(first), EARLIEST_SAMPLE);
}

TimeWindow MakeWindow(const Question& question, const Query& query, bool isUnadjusted,
                      Context& context) {
  TimeWindow window;
  window.start.timeZone = question.zone;
  window.end.timeZone = question.zone;
  window.start.timestamp = question.from ? *question.from : GetFirst(query, context);
  window.end.timestamp = question.to ? *question.to : query.file.lastUpdate;
  if (!question.from && window.start.timestamp <= window.end.timestamp) {
    RequireBoundedSamples(query, window);
    const bool isOnBound = !isUnadjusted && query.interval != QueryInterval::FullPeriod;
    window.start.timestamp = FindStart(query, window, isOnBound, context.rrdClient);
  }
  if (window.start.timestamp >= window.end.timestamp) {
    throw CommandError(query.zeltId, "from is not before to: " + TimeWindowToString(window),
                       StatusCode::InvalidArgument);
  }
  return window;
}

// Appends a point for each interval of the window.
void FetchIntervals(const Query& query, const TimeWindow& window, Context& context,
                    std::vector<NumericalDataPoint>& points) {
  const StatusCode status = context.MakeDataSource(query.path)
                                .Fetch(window, query.interval, query.function.compute, points);
  if (status == StatusCode::PartialData) {
    PrintMessage(CommandError(query.zeltId,
                              "no sample of the file starts the window, so no point is good",
                              status)
                     .GetText());
    context.exitStatus = EXIT_PARTIAL_DATA;
  } else {
    Require(status, query.zeltId,
            (status == StatusCode::OutOfRange ? "no interval ends with the window "
                                              : "no answer for ") +
                TimeWindowToString(window));
  }
}

std::vector<NumericalDataPoint> Answer(const QueryOptions& options, const Query& query,
                                       TimeWindow window, Context& context) {
  const bool isWhole = query.interval == QueryInterval::FullPeriod && !query.function.isDelta;
  std::optional<TimeWindow> cut;
  if (!isWhole && !options.isUnadjusted) {
    cut = AdjustWindow(query, options.isPartial, window);
  }
  RequireBoundedSamples(query, window);
  RequireBoundedPoints(query, window);
  TellArchive(query, window);
  if (isWhole) {
    return {ComputeWhole(query, window, context.rrdClient)};
  }
  std::vector<NumericalDataPoint> points;
  if (window.start.timestamp != window.end.timestamp) {
    FetchIntervals(query, window, context, points);
  }
  if (cut) {
    points.push_back(ComputePartial(query, *cut, context.rrdClient));
  }
  return points;
}

void Print(const std::vector<NumericalDataPoint>& points, PointFormat format) {
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
  const Question question = ReadQuestion(options);
  const std::string path = context.GetPathOfNative(options.zeltId);
  const Query query{options.zeltId, path,
                    DescribeSingleSource(context.rrdClient, path, options.zeltId),
                    question.interval, options.function};
  const TimeWindow window = MakeWindow(question, query, options.isUnadjusted, context);
  Print(Answer(options, query, window, context), options.format);
}

constexpr char FUNCTION_HELP[] =
    "FUNCTION makes one value of the samples of an interval. The increase is what a counter\n"
    "grew by, across its restarts from zero; the delta is its last sample minus its first. The\n"
    "sample at an interval's end belongs to the next one alone for sum and count, to both for\n"
    "the others. A value is bad when a sample is missing, a delta when its first or last is.\n"
    "all is the window as one interval, not rounded; its delta is rounded to hours.";

}  // namespace

void AddQueryCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("query", "Print one value per complete interval of a window");
  const auto options = std::make_shared<QueryOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  command->add_option("--interval", options->interval, "Length of the intervals")
      ->required()
      ->type_name("INTERVAL");
  command
      ->add_option("--from", options->from, "Start (default: of the first interval with a sample)")
      ->type_name("TIME");
  command->add_option("--to", options->to, "End (default: the file's last update)")
      ->type_name("TIME");
  command
      ->add_option("--zone", options->zoneName,
                   "Time zone of TIME, of days and of months (default: UTC)")
      ->type_name("ZONE");
  AddChoice(*command, "--function", options->function, ListPointFunctions(),
            "average (default), minimum, maximum, sum, count, increase or delta")
      ->type_name("FUNCTION");
  AddChoice(*command, "--format", options->format,
            {{"table", PointFormat::Table}, {"csv", PointFormat::Csv}, {"json", PointFormat::Json}},
            "Form of the output (default: table)")
      ->type_name("FORMAT");
  CLI::Option* const noAdjust =
      command->add_flag("--no-adjust", options->isUnadjusted,
                        "Take the window as it is, not only its complete intervals");
  command
      ->add_flag("--partial", options->isPartial,
                 "Add the interval that the end of the window cuts, as bad")
      ->excludes(noAdjust);
  command->footer(std::string(INTERVAL_HELP) + "\n" + FUNCTION_HELP + "\n" + TIME_HELP);
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
