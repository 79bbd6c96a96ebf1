#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "command/commands.h"
#include "files/foreign_file.h"
#include "input/choice.h"
#include "input/interval_text.h"
#include "input/time_text.h"
#include "output/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class InfoFormat { Text, Json };

struct InfoOptions {
  std::vector<std::string> zeltIds;
  InfoFormat format = InfoFormat::Text;
  bool isRefresh = false;
};

struct Information {
  std::string path;
  unsigned long step = 0;
  std::optional<QueryInterval> interval;
  long long first = 0;
  long long last = 0;

  // Where step and first timestamp came from, when they may have come from a store; all else is of
  // the file.
  bool hasOrigins = false;
  bool isStepStored = false;
  bool isFirstStored = false;
};

const char* NameOrigin(bool isStored) { return isStored ? "store" : "file"; }

std::string FormatTime(long long timestamp) {
  return FormatUtc(timestamp) + " (" + std::to_string(timestamp) + ")";
}

long long ReadFirstOfFile(const std::string& path, const std::string& zeltId, Context& context) {
  long long first = 0;
  Require(context.rrdClient.GetFirstTimestamp(path, 0, first), zeltId,
          "its first timestamp cannot be read");
  return first;
}

// What was stored stays behind when the archive turns.
void WarnOfStaleFirst(const Information& information, const std::string& zeltId, Context& context) {
  const long long first = ReadFirstOfFile(information.path, zeltId, context);
  if (information.first < first) {
    PrintMessage(zeltId + ": the first timestamp in the store is stale, that of the file is " +
                 FormatTime(first) + "; info --refresh stores it");
  }
}

Information Collect(const std::string& zeltId, const std::string& path, Context& context) {
  Information information;
  information.path = path;
  const Rrd::NumericalDataSource dataSource = context.MakeDataSource(information.path);
  const StatusCode stepStatus = dataSource.GetInterval(information.step);
  information.isStepStored = context.store.WasFound();
  Require(stepStatus, zeltId,
          information.isStepStored ? "its step in the store is malformed; info --refresh mends it"
                                   : "its step cannot be read");
  const StatusCode firstStatus = dataSource.GetFirstTimestamp(information.first);
  information.isFirstStored = context.store.WasFound();
  Require(firstStatus, zeltId,
          information.isFirstStored
              ? "its first timestamp in the store is malformed; info --refresh mends it"
              : "its first timestamp cannot be read");
  Require(dataSource.GetLastTimestamp(information.last), zeltId,
          "its last timestamp cannot be read");
  information.interval = FindIntervalOfLength(information.step);
  information.hasOrigins = context.store.IsNamed();
  if (information.isFirstStored) {
    WarnOfStaleFirst(information, zeltId, context);
  }
  return information;
}

nlohmann::ordered_json MakeTime(long long timestamp) {
  return {{"date", FormatUtc(timestamp)}, {"timestamp", timestamp}};
}

void PrintObject(const nlohmann::ordered_json& object) {
  constexpr int INDENT = 2;
  std::cout << object.dump(INDENT, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
}

// Reads all files before it writes the first entry, so that a mistaken id changes nothing.
void Refresh(const std::vector<std::string>& zeltIds, Context& context) {
  if (!context.store.IsNamed()) {
    throw CLI::RequiredError("--metadata-store");
  }
  std::vector<Information> all;
  for (const std::string& zeltId : zeltIds) {
    Information information;
    information.path = context.GetPathOfExisting(zeltId);
    Require(context.rrdClient.GetInterval(information.path, information.step), zeltId,
            "its step cannot be read");
    information.first = ReadFirstOfFile(information.path, zeltId, context);
    all.push_back(information);
  }
  for (const Information& information : all) {
    context.store.Write(information.path, information.first, information.step);
    std::cout << WithoutControls(information.path) << ": first " << FormatTime(information.first)
              << ", step " << information.step << " s stored\n";
  }
}

void PrintText(const Information& information) {
  const auto origin = [&information](bool isStored) {
    return information.hasOrigins ? std::string(", from the ") + NameOrigin(isStored) : "";
  };
  std::cout << "path      " << WithoutControls(information.path) << '\n'
            << "step      " << information.step << " s" << origin(information.isStepStored) << '\n'
            << "interval  "
            << (information.interval ? QueryIntervalToString(*information.interval) : "none")
            << origin(information.isStepStored) << '\n'
            << "first     " << FormatTime(information.first) << origin(information.isFirstStored)
            << '\n'
            << "last      " << FormatTime(information.last) << origin(false) << '\n';
}

void PrintJson(const Information& information) {
  nlohmann::ordered_json object = {{"path", information.path}, {"step", information.step}};
  object["interval"] = nullptr;
  if (information.interval) {
    object["interval"] = QueryIntervalToString(*information.interval);
  }
  object["first"] = MakeTime(information.first);
  object["last"] = MakeTime(information.last);
  if (information.hasOrigins) {
    object["from"] = {{"step", NameOrigin(information.isStepStored)},
                      {"interval", NameOrigin(information.isStepStored)},
                      {"first", NameOrigin(information.isFirstStored)},
                      {"last", NameOrigin(false)}};
  }
  PrintObject(object);
}

void PrintText(const ForeignFile& file, const std::string& path) {
  const auto& content = file.content;
  std::cout << "path      " << WithoutControls(path) << '\n'
            << "layout    " << Rrd::Tool::GetLayoutName(content.layout) << '\n'
            << "step      " << content.step << " s\n"
            << "sources   " << content.dsCount << '\n'
            << "archives  " << content.rraCount << '\n'
            << "rows      " << content.rowCount << '\n'
            << "last      " << FormatTime(static_cast<long long>(content.lastUpdate)) << '\n';
  if (content.unusedSize != 0) {
    std::cout << "unused    " << content.unusedSize << " bytes at its end\n";
  }
  std::cout << "open by   "
            << WithoutControls(file.command.empty() ? "nothing: " + file.reason : file.command)
            << '\n';
}

void PrintJson(const ForeignFile& file, const std::string& path) {
  const auto& content = file.content;
  nlohmann::ordered_json object = {
      {"path", path},
      {"layout", Rrd::Tool::GetLayoutName(content.layout)},
      {"step", content.step},
      {"sources", content.dsCount},
      {"archives", content.rraCount},
      {"rows", content.rowCount},
      {"last", MakeTime(static_cast<long long>(content.lastUpdate))},
      {"unusedBytes", content.unusedSize},
      {"openBy", nullptr},
  };
  if (!file.command.empty()) {
    object["openBy"] = file.command;
  }
  PrintObject(object);
}

void Run(const InfoOptions& options, Context& context) {
  const bool isJson = options.format == InfoFormat::Json;
  const std::string& zeltId = options.zeltIds.front();
  const std::string path = context.GetPathOfExisting(zeltId);
  const std::optional<ForeignFile> foreign = FindForeignFile(path);
  if (foreign) {
    isJson ? PrintJson(*foreign, path) : PrintText(*foreign, path);
    return;
  }
  const Information information = Collect(zeltId, path, context);
  isJson ? PrintJson(information) : PrintText(information);
}

}  // namespace

void AddInfoCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("info", "Print path, step and times of a data source");
  const auto options = std::make_shared<InfoOptions>();
  command->add_option("ID", options->zeltIds, "Data source; several with --refresh")
      ->required()
      ->type_name("");
  AddChoice(*command, "--format", options->format,
            {{"text", InfoFormat::Text}, {"json", InfoFormat::Json}},
            "Form of the output (default: text)")
      ->type_name("FORMAT");
  command->add_flag("--refresh", options->isRefresh,
                    "Write first timestamp and step of the files to the metadata store");
  command->callback([options, &context] {
    if (options->isRefresh) {
      return Refresh(options->zeltIds, context);
    }
    if (options->zeltIds.size() > 1) {
      throw CLI::ExtrasError({options->zeltIds.begin() + 1, options->zeltIds.end()});
    }
    Run(*options, context);
  });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
