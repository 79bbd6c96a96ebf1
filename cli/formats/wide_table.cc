#include <algorithm>
#include <cmath>

#include "base/value_text.h"
#include "formats/point_row.h"
#include "formats/point_table.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char BAD_MARK = '*';

// The value, and behind it a place for the mark.
std::string FormatCell(const NumericalDataPoint* point) {
  if (point == nullptr || std::isnan(point->value)) {
    return "- ";
  }
  return FormatValue(point->value) + (point->quality ? ' ' : BAD_MARK);
}

struct Layout {
  std::size_t date = 4;  // of the heading
  std::vector<std::size_t> columns;
  bool hasBad = false;
};

Layout Measure(const std::vector<const Points*>& columns, const std::vector<std::string>& names) {
  Layout layout;
  for (const std::string& name : names) {
    layout.columns.push_back(CountCharacters(name) + 1);
  }
  ForEachRow(columns, [&layout](const Date::Date& date, const Row& row) {
    layout.date = std::max(layout.date, date.ToText().size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string cell = FormatCell(row[i]);
      layout.columns[i] = std::max(layout.columns[i], cell.size());
      layout.hasBad = layout.hasBad || cell.back() == BAD_MARK;
    }
  });
  return layout;
}

void PrintLine(const Layout& layout, const std::string& date, const std::vector<std::string>& cells,
               std::ostream& output) {
  std::string line = date + std::string(layout.date - date.size(), ' ');
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += ' ' + std::string(layout.columns[i] + 1 - CountCharacters(cells[i]), ' ') + cells[i];
  }
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

}  // namespace

void PrintTable(const std::vector<Series>& series, const std::vector<std::string>& names,
                std::ostream& output) {
  std::vector<const Points*> columns(series.size());
  std::transform(series.begin(), series.end(), columns.begin(),
                 [](const Series& one) { return &one.points; });
  const Layout layout = Measure(columns, names);
  std::vector<std::string> cells(names.size());
  std::transform(names.begin(), names.end(), cells.begin(),
                 [](const std::string& name) { return name + ' '; });
  PrintLine(layout, "date", cells, output);
  ForEachRow(columns, [&](const Date::Date& date, const Row& row) {
    std::transform(row.begin(), row.end(), cells.begin(), FormatCell);
    PrintLine(layout, date.ToText(), cells, output);
  });
  if (layout.hasBad) {
    output << BAD_MARK << " is bad.\n";
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
