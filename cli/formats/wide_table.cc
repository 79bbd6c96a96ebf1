#include <algorithm>
#include <cmath>

#include "base/value_text.h"
#include "formats/date_name.h"
#include "formats/point_table.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char BAD_MARK = '*';

// The points of one date, one for each column; null where a column has none.
using Row = std::vector<const NumericalDataPoint*>;

// Calls `work` with each date and its row, in the order of the dates.
template <typename Work>
void ForEachRow(const std::vector<const Points*>& columns, Work work) {
  std::vector<std::size_t> positions(columns.size());
  Row row(columns.size());
  for (;;) {
    const Date::Date* date = nullptr;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      row[i] = positions[i] < columns[i]->size() ? &(*columns[i])[positions[i]] : nullptr;
      if (row[i] != nullptr && (date == nullptr || row[i]->date.timestamp < date->timestamp)) {
        date = &row[i]->date;
      }
    }
    if (date == nullptr) {
      return;
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (row[i] != nullptr && row[i]->date.timestamp == date->timestamp) {
        ++positions[i];
      } else {
        row[i] = nullptr;
      }
    }
    work(*date, row);
  }
}

// The value, followed by the place of the mark.
std::string FormatCell(const NumericalDataPoint* point) {
  if (point == nullptr || std::isnan(point->value)) {
    return "- ";
  }
  return FormatValue(point->value) + (point->quality ? ' ' : BAD_MARK);
}

struct Widths {
  std::size_t date = 4;  // of the heading
  std::vector<std::size_t> columns;
  bool hasBad = false;
};

Widths Measure(const std::vector<const Points*>& columns, const std::vector<std::string>& names,
               CalendarUnit unit) {
  Widths widths;
  for (const std::string& name : names) {
    widths.columns.push_back(CountCharacters(name) + 1);
  }
  ForEachRow(columns, [&widths, unit](const Date::Date& date, const Row& row) {
    widths.date = std::max(widths.date, NameDate(date, unit).size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string cell = FormatCell(row[i]);
      widths.columns[i] = std::max(widths.columns[i], cell.size());
      widths.hasBad = widths.hasBad || cell.back() == BAD_MARK;
    }
  });
  return widths;
}

void PrintLine(const Widths& widths, const std::string& date, const std::vector<std::string>& cells,
               std::ostream& output) {
  std::string line = date + std::string(widths.date - date.size(), ' ');
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += ' ' + std::string(widths.columns[i] + 1 - CountCharacters(cells[i]), ' ') + cells[i];
  }
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

}  // namespace

void PrintTable(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                CalendarUnit unit, std::ostream& output) {
  std::vector<const Points*> columns(curves.size());
  std::transform(curves.begin(), curves.end(), columns.begin(),
                 [](const Curve& one) { return &one.points; });
  const Widths widths = Measure(columns, names, unit);
  std::vector<std::string> cells(names.size());
  std::transform(names.begin(), names.end(), cells.begin(),
                 [](const std::string& name) { return name + ' '; });
  PrintLine(widths, "date", cells, output);
  ForEachRow(columns, [&](const Date::Date& date, const Row& row) {
    std::transform(row.begin(), row.end(), cells.begin(), FormatCell);
    PrintLine(widths, NameDate(date, unit), cells, output);
  });
  if (widths.hasBad) {
    output << BAD_MARK << " is bad.\n";
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
