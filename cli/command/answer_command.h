#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "formats/point_writer.h"
#include "points/context.h"
#include "points/question.h"
#include "points/selected_files.h"

// What the commands that write points have in common: a question, files that answer it, a format.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct AnswerOptions {
  std::vector<std::string> zeltIds;
  QuestionOptions question;
  SelectionOptions selection;
  std::optional<PointFormat> format;
  std::optional<std::string> output;
  bool isForSeries = false;  // CSV and JSON are for another database
};

struct AddedOptions {
  CLI::Option* zeltIds;
  CLI::Option* interval;
  CLI::Option* format;
};

// ID, what is asked, --format and --output.
AddedOptions AddAnswerOptions(CLI::App& command, AnswerOptions& options);

// What the help says of an ID, of the formats and of what is asked.
std::string GetAnswerHelp();

// Asks each of the files and writes what it answers.
void WriteAnswers(const AnswerOptions& options, Context& context);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
