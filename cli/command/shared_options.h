#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command/option_types.h"
#include "points/selected_files.h"

// Options that several commands have.
namespace nvx::TimeSeriesDatabase::CommandLine {

// --exclude, --label-directory, --tree and --path-labels.
void AddSelectionOptions(CLI::App& command, SelectionOptions& options);

// --source, names of data sources with commas between them.
void AddSourceOption(CLI::App& command, std::vector<std::string>& names);

// Of the commands that take samples from a CSV file.
struct CsvOptions {
  std::optional<std::string> path;
  std::optional<std::string> column;
};

// Adds --csv, which is returned, and --column.
CLI::Option* AddCsvOptions(CLI::App& command, CsvOptions& options, const std::string& csvHelp);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
