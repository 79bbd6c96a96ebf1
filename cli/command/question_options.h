#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command/option_types.h"
#include "points/question.h"

// The options of a question. They are added to a command, and read when it runs: what is wrong with
// them is thrown as UsageError or CLI::ParseError.
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

Question ReadQuestion(const QuestionOptions& options);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
