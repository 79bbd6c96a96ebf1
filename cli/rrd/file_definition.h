#pragma once

#include <optional>
#include <string>

#include "arguments/time_expression.h"
#include "rrd/data_file.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace nvx::TimeSeriesDatabase::CommandLine {

// The arguments of the commands that make a file, as far as they were given.
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

// What the help says of the arguments of one command.
struct DefinitionHelp {
  std::string rowsDefault;
  std::string startDefault;
  std::string boundDefault;
  std::string force;
};

// The option --step is returned, for the command to say whether it is required.
CLI::Option* AddDefinitionOptions(CLI::App& command, FileDefinition& definition,
                                  const DefinitionHelp& help);

// Why no file can be made of what was given; empty when one can.
std::string FindProblem(const FileDefinition& definition);

// The rows of a file that is made for so many and is to grow: as many again, and a year's, but not
// more than a file can have nor, for the year, than a million.
long long GetRowCountToGrow(long long neededCount, long long step);

// What the file is to be like that begins at `start`. The step and the rows must be there, and no
// problem.
DataFileDefinition MakeDataFileDefinition(const FileDefinition& definition, long long start);

// The start that was given, if any. Throws UsageError for one that is no TIME.
std::optional<TimeExpression> ReadStart(const FileDefinition& definition);

// The same as seconds since the epoch. Throws UsageError for one that no file can have.
long long ResolveStart(const TimeExpression& start, const FileTimes& file,
                       const std::string& zeltId);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
