#include "points/question.h"

#include "arguments/choice.h"
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

CLI::Option* AddQuestionOptions(CLI::App& command, QuestionOptions& options) {
  command
      .add_option("--from", options.from, "Start (default: of the first interval with a sample)")
      ->type_name("TIME");
  command.add_option("--to", options.to, "End (default: the file's last update)")
      ->type_name("TIME");
  command
      .add_option("--zone", options.zoneName,
                  "Time zone of TIME, of days and of months (default: UTC)")
      ->type_name("ZONE");
  CLI::Option* const interval =
      command.add_option("--interval", options.interval, "Length of the intervals")
          ->type_name("INTERVAL");
  AddChoiceOfSeveral(command, "--function", options.functions, ListPointFunctions(),
                     "average (default), minimum, maximum, sum, count, increase or delta, or\n"
                     "several with a comma between them")
      ->type_name("FUNCTION")
      ->needs(interval);
  CLI::Option* const noAdjust =
      command
          .add_flag("--no-adjust", options.isUnadjusted,
                    "Take the window as it is, not only its complete intervals")
          ->needs(interval);
  command
      .add_flag("--partial", options.isPartial,
                "Add the interval that the end of the window cuts, as bad")
      ->needs(interval)
      ->excludes(noAdjust);
  return interval;
}

void AddLabelOption(CLI::App& command, QuestionOptions& options) {
  command.add_option("--label", options.labels, "Label to add to every series; may be repeated")
      ->type_name("KEY=VALUE")
      ->allow_extra_args(false);
}

std::string GetQuestionHelp() {
  return std::string(INTERVAL_HELP) + "\n" + FUNCTION_HELP + "\n" + TIME_HELP + "\n" + ZONE_HELP;
}

Question ReadQuestion(const QuestionOptions& options) {
  Question question;
  if (options.interval) {
    question.interval = ReadInterval(*options.interval);
    question.intervalName = *options.interval;
  }
  question.zone = LoadZone(options.zoneName);
  if (options.from) {
    question.from.emplace(*options.from, question.zone);
  }
  if (options.to) {
    question.to.emplace(*options.to, question.zone);
  }
  const bool isOfFile =
      (question.from && question.from->IsOfFile()) || (question.to && question.to->IsOfFile());
  if (question.from && question.to && !isOfFile &&
      question.from->Resolve({}) >= question.to->Resolve({})) {
    throw CLI::ValidationError("--to", "is not after --from");
  }
  question.functions = options.functions;
  question.labels = ReadLabels(options.labels);
  question.isUnadjusted = options.isUnadjusted;
  question.isPartial = options.isPartial;
  if (question.isPartial && question.interval == QueryInterval::FullPeriod) {
    throw CLI::ValidationError("--partial", "the interval all is never cut");
  }
  return question;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
