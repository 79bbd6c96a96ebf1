#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/command_error.h"
#include "command/choice.h"
#include "command/commands.h"
#include "points/context.h"
#include "points/selected_files.h"
#include "rrd/file_check.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class CheckFormat { Text, Json };

constexpr char CHECK_HELP[] =
    "Exit status: 0 all sound, 3 something found, 1 a file cannot be read,\n"
    "whatever was found in others.";

struct CheckOptions {
  std::vector<std::string> zeltIds;
  CheckFormat format = CheckFormat::Text;
};

void PrintLine(const std::string& zeltId, const std::vector<Finding>& findings) {
  std::string line = zeltId + ':';
  for (const Finding& finding : findings) {
    line += (&finding == &findings.front() ? " " : "; ") + finding.problem + ": " + finding.advice;
  }
  std::cout << WithoutControls(findings.empty() ? line + " sound" : line) << '\n';
}

nlohmann::ordered_json MakeObject(const std::string& zeltId, const std::vector<Finding>& findings) {
  nlohmann::ordered_json object = {{"id", zeltId}, {"findings", nlohmann::ordered_json::array()}};
  for (const Finding& finding : findings) {
    object["findings"].push_back({{"problem", finding.problem}, {"advice", finding.advice}});
  }
  return object;
}

void Run(const CheckOptions& options, Context& context) {
  auto objects = nlohmann::ordered_json::array();
  ForEachFile(SelectFiles(options.zeltIds, context), context, [&](const SelectedFile& file) {
    const std::string path = file.GetPathOfExisting(context);
    const std::vector<Finding> findings = CheckFile(context.rrdClient, path, file.zeltId);
    if (!findings.empty()) {
      context.NotePartialData();
    }
    if (options.format == CheckFormat::Text) {
      PrintLine(file.zeltId, findings);
    } else {
      objects.push_back(MakeObject(file.zeltId, findings));
    }
  });
  if (options.format == CheckFormat::Json) {
    constexpr int INDENT = 2;
    std::cout << objects.dump(INDENT, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
  }
}

}  // namespace

void AddCheckCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "check", "Look for interrupted updates, damage, and impossible times and values");
  const auto options = std::make_shared<CheckOptions>();
  command->add_option("ID", options->zeltIds, "Data sources (default: all of the directory)")
      ->type_name("");
  AddChoice(*command, "--format", options->format,
            {{"text", CheckFormat::Text}, {"json", CheckFormat::Json}},
            "Format of the output (default: text, one line a file)")
      ->type_name("FORMAT");
  command->footer(std::string(PATTERN_HELP) + "\n" + CHECK_HELP);
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
