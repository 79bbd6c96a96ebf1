#include <charconv>
#include <iostream>
#include <limits>
#include <memory>

#include "arguments/choice.h"
#include "arguments/zone_text.h"
#include "base/shortest_text.h"
#include "command/commands.h"
#include "formats/point_writer.h"
#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

enum class LastFormat { Text, Csv, Json };

struct LastOptions {
  std::string zeltId;
  std::string zoneName = "UTC";
  LastFormat format = LastFormat::Text;
};

// NaN for a reading that is missing or that the bounds exclude.
double ReadValue(const Rrd::DataSourceDescription& source) {
  constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();
  const std::string& text = source.lastReading;
  double value = MISSING;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = error == std::errc() && rest == text.data() + text.size();
  return isNumber && !(value < source.minimum) && !(value > source.maximum) ? value : MISSING;
}

// The newest row, or the reading behind it, of which no row is made yet. Only of a gauge is a
// reading a value.
NumericalDataPoint FindLast(const std::string& zeltId, Context& context) {
  const std::string path = context.GetPathOfNative(zeltId);
  const Rrd::FileDescription file = DescribeSingleSource(context.rrdClient, path, zeltId);
  const Rrd::ArchiveDescription& archive = RequireArchive(file, file.lastUpdate, zeltId);
  NumericalDataPoint last;
  if (file.lastUpdate > archive.lastTime && file.dataSources.front().type == "GAUGE") {
    last.date.timestamp = file.lastUpdate;
    last.value = ReadValue(file.dataSources.front());
  } else {
    last.date.timestamp = archive.lastTime;
    Rrd::FetchResult result;
    Require(context.rrdClient.Fetch(path, archive.lastTime, archive.lastTime, result), zeltId,
            "its last sample cannot be read");
    last.value = result.GetData()[0];
  }
  last.quality = last.value == last.value;
  return last;
}

void Print(PointWriter&& writer, const NumericalDataPoint& point) {
  writer.Add("", {{point}});
  writer.Finish();
}

void Run(const LastOptions& options, Context& context) {
  const cctz::time_zone zone = LoadZone(options.zoneName);
  NumericalDataPoint last = FindLast(options.zeltId, context);
  last.date.timeZone = zone;
  switch (options.format) {
    case LastFormat::Text:
      std::cout << last.date.ToText() << ' ' << last.date.timestamp << ' '
                << ShortestText(last.value).Get() << '\n';
      return;
    case LastFormat::Csv:
      return Print(CsvWriter(AnswerShape(), std::cout), last);
    case LastFormat::Json:
      return Print(JsonWriter(AnswerShape(), std::cout), last);
  }
}

}  // namespace

void AddLastCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("last", "Print time and value of the last sample of a data source");
  const auto options = std::make_shared<LastOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  command->add_option("--zone", options->zoneName, "Time zone of the printed date (default: UTC)")
      ->type_name("ZONE");
  AddChoice(*command, "--format", options->format,
            {{"text", LastFormat::Text}, {"csv", LastFormat::Csv}, {"json", LastFormat::Json}},
            "Form of the output: DATE TIMESTAMP VALUE (text, default), or as query prints it")
      ->type_name("FORMAT");
  command->footer("VALUE is nan for a sample that is missing.\n" + std::string(ZONE_HELP));
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
