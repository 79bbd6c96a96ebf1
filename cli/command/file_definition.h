#pragma once

#include <optional>
#include <string>

#include "arguments/time_expression.h"
#include "command/option_types.h"
#include "rrd/data_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The arguments of the commands that make a file; those that were not given are empty.
struct FileDefinition {
  std::string zeltId;
  std::optional<long long> step;
  std::optional<long long> rowCount;
  std::optional<std::string> startText;
  std::string zoneName = "UTC";
  std::optional<double> minimum;  // NaN: no bound
  std::optional<double> maximum;
  bool isForced = false;
};

// What the help says about the arguments of one command.
struct DefinitionHelp {
  std::string rowsDefault;
  std::string startDefault;
  std::string boundDefault;
  std::string force;
};

// Returns the option --step, so that the command can require it.
CLI::Option* AddDefinitionOptions(CLI::App& command, FileDefinition& definition,
                                  const DefinitionHelp& help);

// Why no file can be made with these arguments; empty when one can.
std::string FindProblem(const FileDefinition& definition);

// The rows of a file that needs `neededCount` rows now and has room to grow: twice as many, and at
// least a year's, though for the year no more than a million and never more than a file can have.
long long GetRowCountToGrow(long long neededCount, long long step);

// The definition of a file that begins at `start`. Step and rows must be given and have no problem.
DataFileDefinition MakeDataFileDefinition(const FileDefinition& definition, long long start);

// The start that was given, if any. Throws UsageError for a text that is no TIME.
std::optional<TimeExpression> ReadStart(const FileDefinition& definition);

// The same as seconds since the epoch. Throws UsageError for one that no file can have.
long long ResolveStart(const TimeExpression& start, const FileTimes& file,
                       const std::string& zeltId);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
