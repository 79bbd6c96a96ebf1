#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "base/command_error.h"
#include "base/time_text.h"
#include "base/value_text.h"
#include "command/choice.h"
#include "command/commands.h"
#include "formats/csv_writer.h"
#include "points/selected_files.h"
#include "points/spans.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class ListFormat { Table, Csv, Json };

struct ListOptions {
  bool isLong = false;
  ListFormat format = ListFormat::Table;
};

constexpr long long STALE_STEPS = 10;

// The first sample, or where the first row with a value begins.
std::optional<long long> FindFirst(const Source& source) {
  const long long last = source.file.lastUpdate;
  if (!source.hasSpans) {
    return RowReader(source).FindFirstSample(GetOldestRow(source), last);
  }
  std::optional<long long> first;
  for (const std::string& consolidation : ListConsolidations(source.file)) {
    SpanArchives archives(source, consolidation);
    const std::optional<long long> own = FindFirstSpan(archives, 0, first.value_or(last));
    first = own ? own : first;
  }
  return first;
}

// The entry of a file, by the names of the columns.
nlohmann::ordered_json Describe(const Source& source) {
  using std::chrono::system_clock;
  const Rrd::FileDescription& file = source.file;
  const long long last = file.lastUpdate;
  const auto first = FindFirst(source);
  const bool isStale = system_clock::to_time_t(system_clock::now()) - last >
                       STALE_STEPS * static_cast<long long>(file.step);
  nlohmann::ordered_json entry = {{"id", source.fileName}, {"first", nullptr}, {"last", nullptr}};
  if (first) {
    entry["first"] = FormatUtc(*first);
    entry["last"] = FormatUtc(last);
  }
  entry["step"] = file.step;
  entry["rows"] = ChooseFinest(source).archive->rowCount;
  entry["size"] = std::filesystem::file_size(source.path);
  const char* const state = !first ? "empty" : isStale ? "stale" : "fresh";
  entry["state"] = state;
  return entry;
}

std::string GetText(const nlohmann::ordered_json& field) {
  return field.is_null() ? "-" : field.is_string() ? field.get<std::string>() : field.dump();
}

void PrintTable(const std::vector<nlohmann::ordered_json>& entries) {
  std::vector<std::vector<std::string>> lines;
  std::vector<std::size_t> widths;
  for (const auto& entry : entries) {
    std::vector<std::string> heading;
    std::vector<std::string> line;
    for (const auto& [name, field] : entry.items()) {
      heading.push_back(name);
      line.push_back(WithoutControls(GetText(field)));
    }
    if (lines.empty()) {
      lines.push_back(heading);
      widths.resize(heading.size());
    }
    lines.push_back(line);
  }
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      widths[i] = std::max(widths[i], CountCharacters(line[i]));
    }
  }
  for (const auto& line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
      std::cout << line[i] << std::string(widths[i] + 2 - CountCharacters(line[i]), ' ');
    }
    std::cout << line.back() << '\n';
  }
}

void PrintCsv(const std::vector<nlohmann::ordered_json>& entries) {
  std::cout << "id,first,last,step,rows,size,state\n";
  for (const auto& entry : entries) {
    const char* separator = "";
    for (const auto& field : entry) {
      std::cout << separator << (field.is_null() ? "" : QuoteCsv(GetText(field)));
      separator = ",";
    }
    std::cout << '\n';
  }
}

void PrintJson(const std::vector<nlohmann::ordered_json>& entries) {
  std::cout << "[\n";
  for (const auto& entry : entries) {
    std::cout << (&entry == entries.data() ? "  " : ",\n  ")
              << entry.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
  }
  std::cout << (entries.empty() ? "]\n" : "\n]\n");
}

void ListLong(ListFormat format, Context& context) {
  Selection selection;
  selection.isSeveral = true;
  for (const std::string& zeltId : ListDataSources(context.GetDirectory(), context)) {
    selection.files.push_back({context.GetDirectory(), zeltId, {}, ""});
  }
  std::vector<nlohmann::ordered_json> entries;
  ForEachFile(selection, context, [&](const SelectedFile& file) {
    entries.push_back(Describe(OpenSources(file, {}, context).front()));
  });
  switch (format) {
    case ListFormat::Table:
      return PrintTable(entries);
    case ListFormat::Csv:
      return PrintCsv(entries);
    case ListFormat::Json:
      return PrintJson(entries);
  }
}

void List(const ListOptions& options, Context& context) {
  if (options.isLong) {
    return ListLong(options.format, context);
  }
  for (const std::string& zeltId : ListDataSources(context.GetDirectory(), context)) {
    std::cout << WithoutControls(zeltId) << '\n';
  }
}

}  // namespace

void AddListCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("list", "Print the ids of the data sources, one a line");
  const auto options = std::make_shared<ListOptions>();
  CLI::Option* const isLong = command->add_flag(
      "--long", options->isLong,
      "Also first and last sample, step, rows, size in bytes, and state: stale when nothing "
      "came for ten steps");
  AddChoice(*command, "--format", options->format,
            {{"table", ListFormat::Table}, {"csv", ListFormat::Csv}, {"json", ListFormat::Json}},
            "Format of the output (default: table)")
      ->type_name("FORMAT")
      ->needs(isLong);
  command->callback([options, &context] { List(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
