#include "rrd/file_report.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "base/command_error.h"
#include "base/time_text.h"
#include "base/value_text.h"
#include "base/words.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using Json = nlohmann::ordered_json;

const char* NameOrigin(bool isStored) { return isStored ? "store" : "file"; }

bool IsMissing(const std::string& reading) { return reading == "U" || reading == "UNKN"; }

std::string FormatBounds(const Rrd::DataSourceDescription& source) {
  const std::string minimum(ShortestText(source.minimum).Get());
  const std::string maximum(ShortestText(source.maximum).Get());
  if (std::isnan(source.minimum)) {
    return std::isnan(source.maximum) ? "no bounds" : "at most " + maximum;
  }
  return std::isnan(source.maximum) ? "at least " + minimum : minimum + " to " + maximum;
}

// A computed data source has neither heartbeat nor bounds.
std::string Format(const Rrd::DataSourceDescription& source) {
  std::string text = source.name + ": " + source.type;
  if (source.heartbeat != 0) {
    text += ", heartbeat " + std::to_string(source.heartbeat) + " s, " + FormatBounds(source);
  }
  return text + ", last value " + (IsMissing(source.lastReading) ? "missing" : source.lastReading);
}

std::string Format(const Rrd::ArchiveDescription& archive, unsigned long step) {
  return archive.consolidation + ", " + Count(archive.stepsPerRow, "step") + " (" +
         std::to_string(archive.stepsPerRow * step) + " s) a row, " +
         Count(archive.rowCount, "row") + ", " + FormatInstant(archive.firstTime) + " - " +
         FormatInstant(archive.lastTime);
}

Json MakeTime(long long timestamp) {
  return {{"date", FormatUtc(timestamp)}, {"timestamp", timestamp}};
}

Json MakeText(const std::string& text, bool isNull) { return isNull ? Json() : Json(text); }

Json MakeObject(const Rrd::DataSourceDescription& source) {
  return {{"name", source.name},
          {"type", source.type},
          {"heartbeat", source.heartbeat},
          {"minimum", source.minimum},  // null when it is not finite
          {"maximum", source.maximum},
          {"lastValue", MakeText(source.lastReading, IsMissing(source.lastReading))}};
}

Json MakeObject(const Rrd::ArchiveDescription& archive) {
  return {{"consolidation", archive.consolidation},
          {"stepsPerRow", archive.stepsPerRow},
          {"rows", archive.rowCount},
          {"first", MakeTime(archive.firstTime)},
          {"last", MakeTime(archive.lastTime)}};
}

template <typename Item>
Json MakeArray(const std::vector<Item>& items) {
  Json array = Json::array();
  for (const Item& item : items) {
    array.push_back(MakeObject(item));
  }
  return array;
}

void PrintObject(const Json& object, std::ostream& output) {
  constexpr int INDENT = 2;
  output << object.dump(INDENT, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

std::string FormatInstant(long long timestamp) {
  return FormatUtc(timestamp) + " (" + std::to_string(timestamp) + ")";
}

void PrintText(const FileReport& report, std::ostream& output) {
  const auto origin = [&report](bool isStored) {
    return report.hasOrigins ? std::string(", from the ") + NameOrigin(isStored) : "";
  };
  const Rrd::FileDescription& file = report.file;
  output << "path      " << WithoutControls(report.path) << '\n'
         << "step      " << report.step << " s" << origin(report.isStepStored) << '\n'
         << "interval  " << (report.interval ? QueryIntervalToString(*report.interval) : "none")
         << origin(report.isStepStored) << '\n'
         << "first     " << FormatInstant(report.first) << origin(report.isFirstStored) << '\n'
         << "last      " << FormatInstant(file.lastUpdate) << origin(false) << '\n'
         << "layout    " << Rrd::Tool::GetLayoutName(Rrd::Tool::GetNativeLayout()) << ", version "
         << file.version << '\n';
  for (const Rrd::DataSourceDescription& source : file.dataSources) {
    output << "source    " << WithoutControls(Format(source)) << '\n';
  }
  for (const Rrd::ArchiveDescription& archive : file.archives) {
    output << "archive   " << WithoutControls(Format(archive, file.step)) << '\n';
  }
}

void PrintJson(const FileReport& report, std::ostream& output) {
  const Rrd::FileDescription& file = report.file;
  Json object = {{"path", report.path}, {"step", report.step}};
  object["interval"] = nullptr;
  if (report.interval) {
    object["interval"] = QueryIntervalToString(*report.interval);
  }
  object["first"] = MakeTime(report.first);
  object["last"] = MakeTime(file.lastUpdate);
  if (report.hasOrigins) {
    object["from"] = {{"step", NameOrigin(report.isStepStored)},
                      {"interval", NameOrigin(report.isStepStored)},
                      {"first", NameOrigin(report.isFirstStored)},
                      {"last", NameOrigin(false)}};
  }
  object["layout"] = Rrd::Tool::GetLayoutName(Rrd::Tool::GetNativeLayout());
  object["version"] = file.version;
  object["sources"] = MakeArray(file.dataSources);
  object["archives"] = MakeArray(file.archives);
  PrintObject(object, output);
}

void PrintText(const ForeignFile& file, const std::string& path, std::ostream& output) {
  const auto& content = file.content;
  output << "path      " << WithoutControls(path) << '\n'
         << "layout    " << Rrd::Tool::GetLayoutName(content.layout) << ", version "
         << content.version << '\n'
         << "step      " << content.step << " s\n"
         << "sources   " << content.dsCount << '\n'
         << "archives  " << content.rraCount << '\n'
         << "rows      " << content.rowCount << '\n'
         << "last      " << FormatInstant(static_cast<long long>(content.lastUpdate)) << '\n';
  if (content.unusedSize != 0) {
    output << "unused    " << content.unusedSize << " bytes at its end\n";
  }
  output << "open by   "
         << WithoutControls(file.command.empty() ? "nothing: " + file.reason : file.command)
         << '\n';
}

void PrintJson(const ForeignFile& file, const std::string& path, std::ostream& output) {
  const auto& content = file.content;
  PrintObject({{"path", path},
               {"layout", Rrd::Tool::GetLayoutName(content.layout)},
               {"version", content.version},
               {"step", content.step},
               {"sources", content.dsCount},
               {"archives", content.rraCount},
               {"rows", content.rowCount},
               {"last", MakeTime(static_cast<long long>(content.lastUpdate))},
               {"unusedBytes", content.unusedSize},
               {"openBy", MakeText(file.command, file.command.empty())}},
              output);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
