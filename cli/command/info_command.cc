#include <algorithm>
#include <iostream>
#include <memory>

#include "arguments/interval_text.h"
#include "base/command_error.h"
#include "command/choice.h"
#include "command/commands.h"
#include "command/shared_options.h"
#include "points/source.h"
#include "rrd/described_file.h"
#include "rrd/file_report.h"
#include "rrd/foreign_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class InfoFormat { Text, Json };

struct InfoOptions {
  std::vector<std::string> zeltIds;
  InfoFormat format = InfoFormat::Text;
  bool isRefresh = false;
  std::vector<std::string> sources;
};

long long ReadFirstOfFile(const std::string& path, const std::string& zeltId, Context& context) {
  long long first = 0;
  Require(context.rrdClient.GetFirstTimestamp(path, 0, first), zeltId,
          "its first timestamp cannot be read");
  return first;
}

// A stored time becomes stale when the archive drops its oldest rows.
void WarnOfStaleFirst(const FileReport& report, const std::string& zeltId) {
  const long long first = report.file.archives.front().firstTime;
  if (report.first < first) {
    PrintMessage(zeltId + ": the first timestamp in the store is stale, that of the file is " +
                 FormatInstant(first) + "; info --refresh stores it");
  }
}

// The library reads only the number at the beginning of a text.
template <typename Number>
void WarnOfText(const std::optional<std::string>& stored, Number number, const char* what,
                const std::string& zeltId) {
  if (stored && *stored != std::to_string(number)) {
    PrintMessage(zeltId + ": its " + what + " in the store is the text '" + *stored +
                 "', which is read as " + std::to_string(number) + "; info --refresh corrects it");
  }
}

FileReport Collect(const std::string& zeltId, const std::string& path, Context& context) {
  FileReport report;
  report.path = path;
  report.file = DescribeFile(context.rrdClient, path, zeltId);
  const Rrd::NumericalDataSource dataSource = context.MakeDataSource(path);
  const StatusCode stepStatus = dataSource.GetInterval(report.step);
  report.isStepStored = context.store.GetFound().has_value();
  Require(stepStatus, zeltId,
          report.isStepStored ? "its step in the store is malformed; info --refresh corrects it"
                              : "its step cannot be read");
  WarnOfText(context.store.GetFound(), report.step, "step", zeltId);
  const StatusCode firstStatus = dataSource.GetFirstTimestamp(report.first);
  report.isFirstStored = context.store.GetFound().has_value();
  Require(firstStatus, zeltId,
          report.isFirstStored
              ? "its first timestamp in the store is malformed; info --refresh corrects it"
              : "its first timestamp cannot be read");
  WarnOfText(context.store.GetFound(), report.first, "first timestamp", zeltId);
  report.interval = FindIntervalOfLength(report.step);
  report.hasOrigins = context.store.IsNamed();
  if (report.isFirstStored) {
    WarnOfStaleFirst(report, zeltId);
  }
  return report;
}

// Reads all files before it writes the first entry, so that a mistaken id changes nothing.
void Refresh(const Selection& selection, Context& context) {
  struct Entry {
    std::string path;
    unsigned long step = 0;
    long long first = 0;
  };
  if (!context.store.IsNamed()) {
    throw CLI::RequiredError("--metadata-store");
  }
  std::vector<Entry> entries;
  for (const SelectedFile& file : selection.files) {
    const std::string& zeltId = file.GetName();
    Entry entry;
    entry.path = file.GetPathOfExisting(context);
    Require(context.rrdClient.GetInterval(entry.path, entry.step), zeltId,
            "its step cannot be read");
    entry.first = ReadFirstOfFile(entry.path, zeltId, context);
    entries.push_back(entry);
  }
  for (const Entry& entry : entries) {
    context.store.Write(entry.path, entry.first, entry.step);
    std::cout << WithoutControls(entry.path) << ": first " << FormatInstant(entry.first)
              << ", step " << entry.step << " s stored\n";
  }
}

// Leaves the data sources of these names.
void SelectSources(const std::vector<std::string>& names, const std::string& name,
                   Rrd::FileDescription& file) {
  RequireSources(names, name, file);
  auto& sources = file.dataSources;
  const auto isOther = [&names](const Rrd::DataSourceDescription& source) {
    return std::find(names.begin(), names.end(), source.name) == names.end();
  };
  if (!names.empty()) {
    sources.erase(std::remove_if(sources.begin(), sources.end(), isOther), sources.end());
  }
}

void PrintFile(const SelectedFile& selected, const InfoOptions& options, Context& context) {
  const bool isJson = options.format == InfoFormat::Json;
  const std::string path = selected.GetPathOfExisting(context);
  const std::optional<ForeignFile> foreign = FindForeignFile(path);
  if (foreign && foreign->isCutOff) {
    throw CommandError(selected.GetName(), foreign->Describe());
  }
  if (foreign) {
    isJson ? PrintJson(*foreign, path, std::cout) : PrintText(*foreign, path, std::cout);
    return;
  }
  FileReport report = Collect(selected.GetName(), path, context);
  SelectSources(options.sources, selected.GetName(), report.file);
  isJson ? PrintJson(report, std::cout) : PrintText(report, std::cout);
}

// Of several files, texts with a blank line between them, or an array of objects.
void Print(const Selection& selection, const InfoOptions& options, Context& context) {
  const bool isArray = options.format == InfoFormat::Json && selection.isSeveral;
  const char* separator = isArray ? "[\n" : "";
  ForEachFile(selection, context, [&](const SelectedFile& file) {
    std::cout << separator;
    PrintFile(file, options, context);
    separator = isArray ? ",\n" : "\n";
  });
  if (isArray) {
    std::cout << (*separator == '[' ? "[]\n" : "]\n");
  }
}

}  // namespace

void AddInfoCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("info", "Print step, times, sources and archives of a data source's file");
  const auto options = std::make_shared<InfoOptions>();
  command->add_option("ID", options->zeltIds, "Data sources, or patterns of their ids")
      ->required()
      ->type_name("");
  AddChoice(*command, "--format", options->format,
            {{"text", InfoFormat::Text}, {"json", InfoFormat::Json}},
            "Format of the output (default: text)")
      ->type_name("FORMAT");
  AddSourceOption(*command, options->sources);
  command->add_flag("--refresh", options->isRefresh,
                    "Write first timestamp and step of the files to the metadata store");
  command->callback([options, &context] {
    context.GetDirectory();  // which must be one
    const Selection selection = SelectFiles(options->zeltIds, context);
    options->isRefresh ? Refresh(selection, context) : Print(selection, *options, context);
  });
  command->footer(PATTERN_HELP);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
