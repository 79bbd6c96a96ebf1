#pragma once

#include <CLI/CLI.hpp>
#include <limits>
#include <optional>
#include <string>

#include "files/data_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The arguments of the commands that make a file.
struct FileDefinition {
  std::string zeltId;
  long long step = 0;
  long long rowCount = 0;
  std::optional<std::string> startText;
  std::string zoneName = "UTC";
  double minimum = std::numeric_limits<double>::quiet_NaN();
  double maximum = std::numeric_limits<double>::quiet_NaN();
  bool isForced = false;
};

void AddDefinitionOptions(CLI::App& command, FileDefinition& definition,
                          const std::string& startHelp, const std::string& forceHelp);

// Throws CommandError for a definition of which no file can be made.
void CheckDefinition(const FileDefinition& definition);

// What the file is to be like that begins at `start`.
DataFileDefinition MakeDataFileDefinition(const FileDefinition& definition, long long start);

// The start that was given, if any. Throws CommandError for one that no file can have.
std::optional<long long> ReadStart(const FileDefinition& definition);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
