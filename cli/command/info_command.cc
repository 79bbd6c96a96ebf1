#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "command/commands.h"
#include "input/choice.h"
#include "input/interval_text.h"
#include "input/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class InfoFormat { Text, Json };

struct InfoOptions {
  std::string zeltId;
  InfoFormat format = InfoFormat::Text;
};

struct Information {
  std::string path;
  unsigned long step = 0;
  std::optional<QueryInterval> interval;
  long long first = 0;
  long long last = 0;
};

Information Collect(const std::string& zeltId, Context& context) {
  Information information;
  information.path = context.GetPathOfExisting(zeltId);
  const Rrd::NumericalDataSource dataSource = context.MakeDataSource(information.path);
  Require(dataSource.GetInterval(information.step), zeltId, "its step cannot be read");
  Require(dataSource.GetFirstTimestamp(information.first), zeltId,
          "its first timestamp cannot be read");
  Require(dataSource.GetLastTimestamp(information.last), zeltId,
          "its last timestamp cannot be read");
  information.interval = FindIntervalOfLength(information.step);
  return information;
}

void PrintText(const Information& information) {
  const auto formatTime = [](long long timestamp) {
    return FormatUtc(timestamp) + " (" + std::to_string(timestamp) + ")";
  };
  std::cout << "path      " << information.path << '\n'
            << "step      " << information.step << " s\n"
            << "interval  "
            << (information.interval ? QueryIntervalToString(*information.interval) : "none")
            << '\n'
            << "first     " << formatTime(information.first) << '\n'
            << "last      " << formatTime(information.last) << '\n';
}

void PrintJson(const Information& information) {
  const auto makeTime = [](long long timestamp) {
    return nlohmann::ordered_json{{"date", FormatUtc(timestamp)}, {"timestamp", timestamp}};
  };
  nlohmann::ordered_json object = {{"path", information.path}, {"step", information.step}};
  object["interval"] = nullptr;
  if (information.interval) {
    object["interval"] = QueryIntervalToString(*information.interval);
  }
  object["first"] = makeTime(information.first);
  object["last"] = makeTime(information.last);
  constexpr int INDENT = 2;
  std::cout << object.dump(INDENT, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

void AddInfoCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("info", "Print path, step and times of a data source");
  const auto options = std::make_shared<InfoOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  AddChoice(*command, "--format", options->format,
            {{"text", InfoFormat::Text}, {"json", InfoFormat::Json}},
            "Form of the output (default: text)")
      ->type_name("FORMAT");
  command->callback([options, &context] {
    const Information information = Collect(options->zeltId, context);
    options->format == InfoFormat::Json ? PrintJson(information) : PrintText(information);
  });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
