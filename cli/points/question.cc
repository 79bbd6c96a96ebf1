#include "points/question.h"

#include "arguments/interval_text.h"
#include "arguments/zone_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char FUNCTION_HELP[] =
    "FUNCTION makes one value of the samples of an interval. The increase is what a counter\n"
    "grew by, across its restarts from zero; the delta is its last sample minus its first. The\n"
    "sample at an interval's end belongs to the next one alone for sum and count, to both for\n"
    "the others. A value is bad when a sample is missing, a delta when its first or last is.\n"
    "all is the window as one interval, not rounded; its delta is rounded to hours.";

}  // namespace

void AddWindowOptions(CLI::App& command, WindowOptions& options) {
  command
      .add_option("--from", options.from, "Start (default: of the first interval with a sample)")
      ->type_name("TIME");
  command.add_option("--to", options.to, "End (default: the file's last update)")
      ->type_name("TIME");
  command
      .add_option("--zone", options.zoneName,
                  "Time zone of TIME, of days and of months (default: UTC)")
      ->type_name("ZONE");
}

CLI::Option* AddPointOptions(CLI::App& command, PointOptions& options) {
  CLI::Option* const interval =
      command.add_option("--interval", options.interval, "Length of the intervals")
          ->type_name("INTERVAL");
  AddChoiceOfSeveral(command, "--function", options.functions, ListPointFunctions(),
                     "average (default), minimum, maximum, sum, count, increase or delta, or\n"
                     "several with a comma between them")
      ->type_name("FUNCTION");
  CLI::Option* const noAdjust =
      command.add_flag("--no-adjust", options.isUnadjusted,
                       "Take the window as it is, not only its complete intervals");
  command
      .add_flag("--partial", options.isPartial,
                "Add the interval that the end of the window cuts, as bad")
      ->excludes(noAdjust);
  return interval;
}

std::string GetQuestionHelp() {
  return std::string(INTERVAL_HELP) + "\n" + FUNCTION_HELP + "\n" + TIME_HELP + "\n" + ZONE_HELP;
}

AskedWindow ReadWindow(const WindowOptions& options) {
  AskedWindow window{LoadZone(options.zoneName), {}, {}};
  if (options.from) {
    window.from.emplace(*options.from, window.zone);
  }
  if (options.to) {
    window.to.emplace(*options.to, window.zone);
  }
  const bool isOfFile =
      (window.from && window.from->IsOfFile()) || (window.to && window.to->IsOfFile());
  if (window.from && window.to && !isOfFile && window.from->Resolve({}) >= window.to->Resolve({})) {
    throw CLI::ValidationError("--to", "is not after --from");
  }
  return window;
}

Question ReadQuestion(const WindowOptions& windowOptions, const PointOptions& pointOptions) {
  const QueryInterval interval = ReadInterval(pointOptions.interval);
  Question question{ReadWindow(windowOptions), interval, pointOptions.functions,
                    pointOptions.isUnadjusted, pointOptions.isPartial};
  if (question.isPartial && interval == QueryInterval::FullPeriod) {
    throw CLI::ValidationError("--partial", "the interval all is never cut");
  }
  return question;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
