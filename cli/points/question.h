#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arguments/time_expression.h"
#include "points/interval.h"
#include "points/point_function.h"
#include "points/series.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

// What the user asks of any file. Options are added to a command, and read when it runs: what is
// wrong with them is thrown as UsageError or CLI::ParseError.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct QuestionOptions {
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::string zoneName = "UTC";
  std::optional<std::string> interval;
  std::optional<std::string> dayStart;
  std::optional<WeekStart> weekStart;
  std::string functions = ListPointFunctions().front().first;
  bool isUnadjusted = false;
  bool isPartial = false;
  std::vector<std::string> labels;
};

// --from, --to, --zone, --interval, which is returned, --day-start, --week-start, --function,
// --no-adjust and --partial.
CLI::Option* AddQuestionOptions(CLI::App& command, QuestionOptions& options);

// --label.
void AddLabelOption(CLI::App& command, QuestionOptions& options);

// What the help says of INTERVAL, FUNCTION, TIME and ZONE.
std::string GetQuestionHelp();

struct Question {
  cctz::time_zone zone;
  std::optional<TimeExpression> from;
  std::optional<TimeExpression> to;
  std::optional<Interval> interval;  // none for the samples themselves
  std::string intervalName;          // as it was typed
  Choices<PointFunction> functions;  // at least one
  bool isUnadjusted = false;         // the window is taken as it is
  bool isPartial = false;            // the interval that its end cuts is added
  Labels labels;                     // of each series, for another database
  bool isAtOnce = false;             // all points are to lie in memory

  // The points are the same whatever was answered before: no interval ends after the file's last
  // update.
  bool isResumable = false;

  // The names of the values of a point.
  std::vector<std::string> GetValueNames() const {
    return functions.size() == 1 ? std::vector<std::string>{"value"} : GetNames(functions);
  }
};

Question ReadQuestion(const QuestionOptions& options);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
