#include "command/shared_options.h"

#include <CLI/CLI.hpp>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Adds names that stand in a list with commas between them.
void AddNames(const std::string& list, std::vector<std::string>& names) {
  for (const std::string& name : CLI::detail::split(list + ',', ',')) {
    if (name.empty()) {
      throw CLI::ValidationError("--source", "an empty name in '" + list + "'");
    }
    names.push_back(name);
  }
}

}  // namespace

void AddSelectionOptions(CLI::App& command, SelectionOptions& options) {
  CLI::Option* const label = command.add_flag(
      "--label-directory", options.isDirectoryLabelled,
      "Add the label directory, the directory's name, also for a single directory");
  command
      .add_option("--exclude", options.excluded,
                  "Leave out the data sources of this pattern; may be repeated")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
  CLI::Option* const tree =
      command
          .add_option("--tree", options.tree,
                      "All files below DIR whose names end with .rrd, in place of IDs")
          ->type_name("DIR")
          ->excludes(label);
  command
      .add_option("--path-labels", options.pathLabels,
                  "Names of the parts of a path below DIR, such as host/plugin-instance/type, to\n"
                  "be labels (default: one label, path)")
      ->type_name("NAMES")
      ->needs(tree);
}

void AddSourceOption(CLI::App& command, std::vector<std::string>& names) {
  command
      .add_option_function<std::vector<std::string>>(
          "--source",
          [&names](const std::vector<std::string>& lists) {
            for (const std::string& list : lists) {
              AddNames(list, names);
            }
          },
          "Data sources of files that have several (default: all of them)")
      ->type_name("NAME[,NAME...]")
      ->allow_extra_args(false);
}

CLI::Option* AddCsvOptions(CLI::App& command, CsvOptions& options, const std::string& csvHelp) {
  CLI::Option* const csv = command.add_option("--csv", options.path, csvHelp)->type_name("FILE");
  command
      .add_option("--column", options.column,
                  "Column of the value (default: value, or the only one with numbers)")
      ->type_name("NAME")
      ->needs(csv);
  return csv;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
