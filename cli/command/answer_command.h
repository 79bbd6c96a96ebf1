#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "formats/point_writer.h"
#include "points/context.h"
#include "points/question.h"
#include "points/selected_files.h"

// What the commands that write points have in common: a question, the files to ask, and a format.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct AnswerOptions {
  std::vector<std::string> zeltIds;
  QuestionOptions question;
  SelectionOptions selection;
  std::vector<std::string> sources;  // names; none for all of each file
  std::optional<PointFormat> format;
  std::optional<std::string> output;
  bool isForSeries = false;  // CSV and JSON for another database
};

struct AddedOptions {
  CLI::Option* zeltIds;
  CLI::Option* interval;
  CLI::Option* format;
};

// ID, the options of a question, --format and --output.
AddedOptions AddAnswerOptions(CLI::App& command, AnswerOptions& options);

// The help on ID, the formats and the question.
std::string GetAnswerHelp();

// Asks each file and writes its answer.
void WriteAnswers(const AnswerOptions& options, Context& context);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
