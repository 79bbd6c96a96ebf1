#include "formats/point_format.h"

#include <iostream>

#include "base/message.h"
#include "base/terminal.h"
#include "formats/chart.h"
#include "formats/gnuplot.h"
#include "formats/point_table.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using AllSeries = std::vector<Series>;

// What tells the columns of a table from one another.
std::string NameColumn(const Series& series, const AnswerShape& shape) {
  if (!shape.hasIds) {
    return series.function;
  }
  const std::string id = WithoutControls(series.zeltId);
  return shape.functions.size() == 1 ? id : id + ' ' + series.function;
}

void PrintAsTable(const AllSeries& all, const AnswerShape& shape) {
  if (!shape.hasIds && shape.functions.size() == 1) {
    return PrintTable(all.front().points, GetTerminalColumns(), std::cout);
  }
  std::vector<std::string> names;
  for (const Series& series : all) {
    names.push_back(NameColumn(series, shape));
  }
  PrintTable(all, names, std::cout);
}

// The whole names of series, for a picture that is on its own.
std::vector<std::string> NameSeries(const AllSeries& all) {
  std::vector<std::string> names;
  for (const Series& series : all) {
    names.push_back(WithoutControls(series.zeltId) + ' ' + series.function);
  }
  return names;
}

// Without colours, only different marks tell several series apart.
Drawing ChooseDrawing(bool isSeveral) {
  if (!IsUtf8Locale() || (isSeveral && !HasColours())) {
    return Drawing::Marks;
  }
  return isSeveral ? Drawing::ColouredBraille : Drawing::Braille;
}

void PrintAsChart(const AllSeries& all, const AnswerShape& /*shape*/) {
  constexpr unsigned int DEFAULT_COLUMNS = 80;
  constexpr unsigned int DEFAULT_ROWS = 24;
  const unsigned int columns = GetTerminalColumns();
  const unsigned int rows = GetTerminalRows();
  const ChartSize size{columns == 0 ? DEFAULT_COLUMNS : columns, rows == 0 ? DEFAULT_ROWS : rows};
  PrintChart(all, NameSeries(all), size, ChooseDrawing(all.size() > 1), std::cout);
}

void PrintAsScript(const AllSeries& all, const AnswerShape& /*shape*/) {
  PrintGnuplot(all, NameSeries(all), std::cout);
}

}  // namespace

std::unique_ptr<PointWriter> MakePointWriter(PointFormat format, const AnswerShape& shape) {
  switch (format) {
    case PointFormat::Csv:
      return std::make_unique<CsvWriter>(shape, std::cout);
    case PointFormat::Json:
      return std::make_unique<JsonWriter>(shape, std::cout);
    case PointFormat::Chart:
      return std::make_unique<CollectingWriter>(shape, PrintAsChart);
    case PointFormat::Gnuplot:
      return std::make_unique<CollectingWriter>(shape, PrintAsScript);
    case PointFormat::Table:
      break;
  }
  return std::make_unique<CollectingWriter>(shape, PrintAsTable);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
