#include <charconv>
#include <iostream>
#include <limits>
#include <memory>

#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/time_text.h"
#include "base/value_text.h"
#include "command/choice.h"
#include "command/commands.h"
#include "command/shared_options.h"
#include "formats/point_writer.h"
#include "points/spans.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct LastOptions {
  std::vector<std::string> zeltIds;
  std::vector<std::string> sources;
  std::string zoneName = "UTC";
  std::optional<PointFormat> format;  // none for text
};

// NaN for a reading that is missing or out of bounds.
double ReadValue(const Rrd::DataSourceDescription& source) {
  constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();
  const std::string& text = source.lastReading;
  double value = MISSING;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = error == std::errc() && rest == text.data() + text.size();
  return isNumber && !(value < source.minimum) && !(value > source.maximum) ? value : MISSING;
}

// The newest row, or the reading after it, which is in no row yet. Only a gauge's reading is a
// value.
Piece FindLast(const Source& source) {
  const Rrd::FileDescription& file = source.file;
  const ChosenArchive chosen = ChooseFinest(source);
  const long long lastRow = chosen.archive->lastTime;
  const Rrd::DataSourceDescription& described = file.dataSources[source.column];
  const bool isReading = file.lastUpdate > lastRow && described.type == "GAUGE";
  const double value =
      isReading ? ReadValue(described) : *RowReader(source).Read(chosen, lastRow, lastRow, lastRow);
  Piece last(1);
  last.AddTime(isReading ? file.lastUpdate : lastRow);
  last.AddValue({value, value == value});
  return last;
}

// DATE TIMESTAMP VALUE, and of several files the id.
class TextWriter : public PointWriter {
 public:
  using PointWriter::PointWriter;

  void Begin(const Series& series, int /*round*/, std::string& /*text*/) override {
    end = (shape.isSeveral ? " " + WithoutControls(series.zeltId) : "") +
          (series.source.empty() ? "" : " " + series.source) + '\n';
  }

  void Append(const Piece& piece, std::string& text) override {
    text += FormatTime(piece.GetTime(0), shape.zone) + ' ' + std::to_string(piece.GetTime(0)) + ' ';
    text += ShortestText(piece.GetRow(0)->number).Get();
    text += end;
  }

 private:
  std::string end;
};

void Run(const LastOptions& options, Context& context) {
  AnswerShape shape;
  shape.zone = LoadZone(options.zoneName);
  context.GetDirectory();  // which must be one
  const Selection selection = SelectFiles(options.zeltIds, context);
  shape.isSeveral = selection.isSeveral;
  std::vector<std::pair<Series, Piece>> answers;
  ForEachFile(selection, context, [&](const SelectedFile& file) {
    ForEachSource(OpenSources(file, options.sources, context), context, [&](const Source& source) {
      answers.emplace_back(MakeSeries(file, source, {}), FindLast(source));
      shape.hasSources |= !source.sourceName.empty();
    });
  });
  const std::unique_ptr<PointWriter> writer = options.format
                                                  ? MakePointWriter(*options.format, shape)
                                                  : std::make_unique<TextWriter>(shape);
  std::string text;
  for (const auto& [series, last] : answers) {
    writer->Begin(series, 0, text);
    writer->Append(last, text);
    writer->End();
  }
  writer->Finish(text);
  std::cout << text;
}

}  // namespace

void AddLastCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("last", "Print time and value of the last sample of data sources");
  const auto options = std::make_shared<LastOptions>();
  command->add_option("ID", options->zeltIds, "Data sources, or patterns of their ids")
      ->required()
      ->type_name("");
  AddSourceOption(*command, options->sources);
  command->add_option("--zone", options->zoneName, "Time zone of the printed date (default: UTC)")
      ->type_name("ZONE");
  AddChoice(
      *command, "--format", options->format,
      Choices<std::optional<PointFormat>>{
          {"text", std::nullopt}, {"csv", PointFormat::Csv}, {"json", PointFormat::Json}},
      "Format of the output: DATE TIMESTAMP VALUE and, of several, the ID and the name of the "
      "data source (text, default), or as query prints it")
      ->type_name("FORMAT");
  command->footer(std::string(PATTERN_HELP) + "\nVALUE is nan for a sample that is missing.\n" +
                  ZONE_HELP);
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
