#include <algorithm>
#include <iostream>
#include <memory>

#include "command/commands.h"
#include "input/choice.h"
#include "input/interval_text.h"
#include "input/time_text.h"
#include "output/message.h"
#include "output/point_format.h"
#include "output/terminal.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window.h"
#include "timeseries/time_window_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The samples of a fetch and the points of an answer lie in memory as a whole.
constexpr unsigned long MAXIMUM_SAMPLE_COUNT = 1UL << 23;
constexpr unsigned long MAXIMUM_POINT_COUNT = 1UL << 21;

enum class PointFormat { Table, Csv, Json };
enum class PointFunction { Average, Delta };

struct QueryOptions {
  std::string zeltId;
  std::string interval;
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::string zoneName = "UTC";
  PointFunction function = PointFunction::Average;
  PointFormat format = PointFormat::Table;
  bool isUnadjusted = false;
};

struct Query {
  std::string zeltId;
  std::string path;
  Rrd::NumericalDataSource dataSource;
  QueryInterval interval;
  TimeWindow window;
};

unsigned long GetSeconds(const Date::Date& from, const Date::Date& to) {
  return static_cast<unsigned long>(to.timestamp) - static_cast<unsigned long>(from.timestamp);
}

long long GetFirst(const Query& query) {
  long long first = 0;
  Require(query.dataSource.GetFirstTimestamp(first), query.zeltId,
          "its first timestamp cannot be read");
  return first;
}

long long GetLast(const Query& query) {
  long long last = 0;
  Require(query.dataSource.GetLastTimestamp(last), query.zeltId,
          "its last timestamp cannot be read");
  return last;
}

Query MakeQuery(const QueryOptions& options, Context& context) {
  const QueryInterval interval = ReadInterval(options.interval);
  const cctz::time_zone zone = LoadZone(options.zoneName);
  const std::string path = context.GetPathOfNative(options.zeltId);
  Query query{options.zeltId, path, context.MakeDataSource(path), interval, {}};
  query.window.start.timeZone = zone;
  query.window.end.timeZone = zone;
  query.window.start.timestamp = options.from ? ReadTime(*options.from, zone) : GetFirst(query);
  query.window.end.timestamp = options.to ? ReadTime(*options.to, zone) : GetLast(query);
  if (query.window.start.timestamp >= query.window.end.timestamp) {
    throw CommandError(options.zeltId, "from is not before to: " + TimeWindowToString(query.window),
                       StatusCode::InvalidArgument);
  }
  return query;
}

void AdjustWindow(Query& query) {
  Require(TimeWindowHelper::AdjustTimeWindow(
              query.interval, TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, query.window),
          query.zeltId,
          std::string("no complete ") + QueryIntervalToString(query.interval) + " in " +
              TimeWindowToString(query.window));
}

// A window may have as many samples and points as the archive that answers it, or the maximum.
void RequireBoundedMemory(const Query& query, const Context& context) {
  Rrd::FileDescription file;
  Require(context.rrdClient.Describe(query.path, file), query.zeltId, "its step cannot be read");
  const Rrd::ArchiveDescription* const archive = file.FindArchive(query.window.start.timestamp);
  if (archive == nullptr) {
    return;  // the fetch says so
  }
  const unsigned long span = GetSeconds(query.window.start, query.window.end);
  Date::Date next = query.window.end;
  if (query.interval != QueryInterval::FullPeriod) {
    TimeHelper::ComputeNextDate(query.interval, query.window.start, next);
  }
  const unsigned long pointCount = span / GetSeconds(query.window.start, next);
  const unsigned long sourceCount = file.dataSources.size();
  const unsigned long rowCount = span / (file.step * archive->stepsPerRow);
  if (pointCount > std::max(archive->rowCount, MAXIMUM_POINT_COUNT) ||
      rowCount > std::max(archive->rowCount, MAXIMUM_SAMPLE_COUNT / sourceCount)) {
    throw CommandError(query.zeltId,
                       "the window is too long; the file covers " + FormatUtc(archive->firstTime) +
                           " - " + FormatUtc(file.lastUpdate),
                       StatusCode::OutOfRange);
  }
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
  Query query = MakeQuery(options, context);
  if (!options.isUnadjusted) {
    AdjustWindow(query);
  }
  RequireBoundedMemory(query, context);

  std::vector<NumericalDataPoint> points;
  const bool isAverage = options.function == PointFunction::Average;
  const StatusCode status =
      isAverage ? query.dataSource.FetchAverage(query.window, query.interval, points)
                : query.dataSource.FetchDelta(query.window, query.interval, points);
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
                TimeWindowToString(query.window));
  }
  if (isAverage && query.interval == QueryInterval::FullPeriod) {
    PrintMessage(query.zeltId + ": warning: the value of FullPeriod is the delta, no average");
  }
  Print(points, options.format);
}

}  // namespace

void AddQueryCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("query", "Print one value per complete interval of a window");
  const auto options = std::make_shared<QueryOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  command->add_option("--interval", options->interval, "Length of the intervals")
      ->required()
      ->type_name("INTERVAL");
  command->add_option("--from", options->from, "Start (default: the file's first timestamp)")
      ->type_name("TIME");
  command->add_option("--to", options->to, "End (default: the file's last update)")
      ->type_name("TIME");
  command
      ->add_option("--zone", options->zoneName,
                   "Time zone of TIME, of days and of months (default: UTC)")
      ->type_name("ZONE");
  AddChoice(*command, "--function", options->function,
            {{"average", PointFunction::Average}, {"delta", PointFunction::Delta}},
            "Default: average. A delta is what the value grew by; all is always one")
      ->type_name("FUNCTION");
  AddChoice(*command, "--format", options->format,
            {{"table", PointFormat::Table}, {"csv", PointFormat::Csv}, {"json", PointFormat::Json}},
            "Form of the output (default: table)")
      ->type_name("FORMAT");
  command->add_flag("--no-adjust", options->isUnadjusted,
                    "Take the window as it is, not only its complete intervals");
  command->footer(std::string(INTERVAL_HELP) + "\n" + TIME_HELP);
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
