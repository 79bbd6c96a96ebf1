#include <algorithm>
#include <cmath>
#include <iomanip>

#include "base/value_text.h"
#include "formats/curves.h"
#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// How a table names an interval that begins with a date: a week by the date of its first day,
// "2024-02-12", a quarter "2024-Q3", a year "2024", all others by the date's text form.
std::string NameDate(const Date::Date& date, CalendarUnit unit) {
  constexpr int MONTHS_PER_QUARTER = 3;
  const cctz::time_point<cctz::seconds> instant{cctz::seconds(date.timestamp)};
  std::string year = cctz::format("%E4Y", instant, date.timeZone);
  switch (unit) {
    case CalendarUnit::Week:
      return year + cctz::format("-%m-%d", instant, date.timeZone);
    case CalendarUnit::Quarter: {
      const int month = cctz::convert(instant, date.timeZone).month();
      return year + "-Q" + std::to_string((month - 1) / MONTHS_PER_QUARTER + 1);
    }
    case CalendarUnit::Year:
      return year;
    default:
      return date.ToText();
  }
}

constexpr std::size_t QUALITY_WIDTH = 7;  // of the heading
constexpr std::size_t MINIMUM_BAR_WIDTH = 10;
constexpr std::size_t MAXIMUM_BAR_WIDTH = 60;

// A bar of up to `longest` marks, for the value's place among the others.
std::string MakeBar(double value, const Extent& extent, std::size_t longest) {
  if (longest == 0 || !std::isfinite(value)) {
    return "";
  }
  const double span = extent.highest / 2 - extent.lowest / 2;  // halves: it does not overflow
  const double part = span > 0 ? (value / 2 - extent.lowest / 2) / span : 1;
  const auto marks = std::lround(part * static_cast<double>(longest - 1));
  return std::string().append(1 + static_cast<std::size_t>(marks), '#');
}

struct Widths {
  std::size_t date = 4;  // of the headings
  std::size_t value = 5;
  std::size_t bar = 0;
};

Widths Measure(const Points& points, CalendarUnit unit, std::size_t terminalColumns) {
  Widths widths;
  for (const NumericalDataPoint& point : points) {
    widths.date = std::max(widths.date, NameDate(point.date, unit).size());
    widths.value = std::max(widths.value, FormatValue(point.value).size());
  }
  const std::size_t taken = widths.date + 2 + widths.value + 2 + QUALITY_WIDTH + 2;
  if (terminalColumns >= taken + MINIMUM_BAR_WIDTH) {
    widths.bar = std::min(terminalColumns - taken, MAXIMUM_BAR_WIDTH);
  }
  return widths;
}

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

struct ColumnWidths {
  std::size_t date = 4;  // of the heading
  std::vector<std::size_t> columns;
  bool hasBad = false;
};

ColumnWidths MeasureColumns(const std::vector<const Points*>& columns,
                            const std::vector<std::string>& names, CalendarUnit unit) {
  ColumnWidths widths;
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

void PrintLine(const ColumnWidths& widths, const std::string& date,
               const std::vector<std::string>& cells, std::ostream& output) {
  std::string line = date + std::string(widths.date - date.size(), ' ');
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += ' ' + std::string(widths.columns[i] + 1 - CountCharacters(cells[i]), ' ') + cells[i];
  }
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

}  // namespace

void PrintTable(const Curves& single, CalendarUnit unit, unsigned int terminalColumns,
                std::ostream& output) {
  const Points& points = single.front().points;
  const Widths widths = Measure(points, unit, terminalColumns);
  const Extent extent = FindExtent(single);
  const auto printCells = [&](const std::string& date, const std::string& value) {
    output << std::left << std::setw(static_cast<int>(widths.date)) << date << "  " << std::right
           << std::setw(static_cast<int>(widths.value)) << value << "  ";
  };

  printCells("date", "value");
  output << "quality\n";
  for (const NumericalDataPoint& point : points) {
    printCells(NameDate(point.date, unit), FormatValue(point.value));
    const std::string bar = MakeBar(point.value, extent, widths.bar);
    if (bar.empty()) {
      output << GetQualityText(point.quality) << '\n';
    } else {
      output << std::left << std::setw(QUALITY_WIDTH) << GetQualityText(point.quality) << "  "
             << bar << '\n';
    }
  }
  if (widths.bar > 0 && extent.HasValues()) {
    output << "The bars reach from " << FormatValue(extent.lowest) << " to "
           << FormatValue(extent.highest) << ".\n";
  }
}

void PrintTable(const Curves& curves, const std::vector<std::string>& names, CalendarUnit unit,
                std::ostream& output) {
  std::vector<const Points*> columns(curves.size());
  std::transform(curves.begin(), curves.end(), columns.begin(),
                 [](const Curve& one) { return &one.points; });
  const ColumnWidths widths = MeasureColumns(columns, names, unit);
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
