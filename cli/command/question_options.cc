#include "command/question_options.h"

#include "arguments/interval_text.h"
#include "arguments/zone_text.h"
#include "base/words.h"
#include "command/choice.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char FUNCTION_HELP[] =
    "It makes one value of the samples of an interval. The increase is what a counter "
    "grew by, across its restarts from zero; the delta is the last sample minus the first. A "
    "percentile is the sample of the nearest rank, and the median is p50. The deviation is that of "
    "all samples from their average. The integral is over seconds; each sample holds until the "
    "next one. For sum and count the sample at an interval's end belongs only to the next "
    "interval, for the others to both. A value is bad when a sample is missing, a delta when its "
    "first or last sample is. The interval all is the whole window, not rounded; its delta is "
    "rounded to hours.";

// The interval as the options have it. Throws for a start that it does not have.
CalendarInterval ReadCalendarInterval(const QuestionOptions& options) {
  CalendarInterval interval = ReadInterval(*options.interval);
  if (options.dayStart) {
    interval.dayStart = ReadDayStart(*options.dayStart);
    if (interval.unit == CalendarUnit::FullPeriod) {
      throw CLI::ValidationError("--day-start", "the interval all begins with the window");
    }
    if (interval.unit < CalendarUnit::Day) {
      throw CLI::ValidationError("--day-start", "only a day or longer begins with a day, and " +
                                                    *options.interval + " is shorter");
    }
  }
  return interval;
}

// A start of the week needs a week that begins with it.
void RequireWeek(const Question& question) {
  const auto isOfWeek = [](const auto& time) { return time && time->IsOfWeek(); };
  const bool isByWeek =
      question.interval && question.interval->GetCalendar().unit == CalendarUnit::Week;
  if (!isByWeek && !isOfWeek(question.from) && !isOfWeek(question.to)) {
    throw CLI::ValidationError("--week-start",
                               "is for the interval 1w and its like, and for this-week and "
                               "last-week in --from and --to");
  }
}

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
  command
      .add_option("--day-start", options.dayStart,
                  "Local time at which days and longer intervals begin (default: 00:00)")
      ->type_name("HH:MM")
      ->needs(interval);
  AddChoice(command, "--week-start", options.weekStart,
            Choices<std::optional<WeekStart>>{{"monday", WeekStart::Monday},
                                              {"sunday", WeekStart::Sunday}},
            "monday (default) or sunday, on which weeks begin")
      ->type_name("DAY");
  command
      .add_option("--function", options.functions,
                  "average (default), another one, or several with a comma between them")
      ->check(CLI::Validator(FindFunctionProblem, ""))
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
  const std::string functions = Join(GetNames(ListPointFunctions()));
  return std::string(INTERVAL_HELP) + "\nFUNCTION is " + functions +
         " or a percentile such as p95 or p99.9. " + FUNCTION_HELP + "\n" + TIME_HELP + "\n" +
         ZONE_HELP;
}

Question ReadQuestion(const QuestionOptions& options) {
  Question question;
  CalendarInterval starts = options.interval ? ReadCalendarInterval(options) : CalendarInterval();
  starts.weekStart = options.weekStart.value_or(starts.weekStart);
  if (options.interval) {
    question.interval.emplace(starts);
    question.intervalName = *options.interval;
  }
  question.zone = LoadZone(options.zoneName);
  if (options.from) {
    question.from.emplace(*options.from, question.zone, starts);
  }
  if (options.to) {
    question.to.emplace(*options.to, question.zone, starts);
  }
  if (options.weekStart) {
    RequireWeek(question);
  }
  const bool isOfFile =
      (question.from && question.from->IsOfFile()) || (question.to && question.to->IsOfFile());
  if (question.from && question.to && !isOfFile &&
      question.from->Resolve({}) >= question.to->Resolve({})) {
    throw CLI::ValidationError("--to", "is not after --from");
  }
  question.functions = ReadPointFunctions(options.functions);
  question.labels = ReadLabels(options.labels);
  question.isUnadjusted = options.isUnadjusted;
  question.isPartial = options.isPartial;
  if (question.isPartial && question.interval->IsWhole()) {
    throw CLI::ValidationError("--partial", "the interval all is never cut");
  }
  return question;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
