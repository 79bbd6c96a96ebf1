#include "formats/point_table.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <limits>

#include "base/value_text.h"
#include "formats/date_name.h"
#include "formats/local_time.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t QUALITY_WIDTH = 7;  // of the heading
constexpr std::size_t MINIMUM_BAR_WIDTH = 10;
constexpr std::size_t MAXIMUM_BAR_WIDTH = 60;

class Bars {
 public:
  // Bars of up to `longestBar` marks; none when it is 0 or no value is finite.
  Bars(const Points& points, std::size_t longestBar) : longest(longestBar) {
    for (const NumericalDataPoint& point : points) {
      if (std::isfinite(point.value)) {
        lowest = std::min(lowest, point.value);
        highest = std::max(highest, point.value);
      }
    }
  }

  bool AreShown() const { return longest > 0 && lowest <= highest; }
  double GetLowest() const { return lowest; }
  double GetHighest() const { return highest; }

  std::string Make(double value) const {
    if (!AreShown() || !std::isfinite(value)) {
      return "";
    }
    const double span = highest / 2 - lowest / 2;  // halves, so that it does not overflow
    const double part = span > 0 ? (value / 2 - lowest / 2) / span : 1;
    const auto marks = std::lround(part * static_cast<double>(longest - 1));
    return std::string().append(1 + static_cast<std::size_t>(marks), '#');
  }

 private:
  std::size_t longest;
  double lowest = std::numeric_limits<double>::infinity();
  double highest = -std::numeric_limits<double>::infinity();
};

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

}  // namespace

void PrintTable(const Points& points, CalendarUnit unit, unsigned int terminalColumns,
                std::ostream& output) {
  const Widths widths = Measure(points, unit, terminalColumns);
  const Bars bars(points, widths.bar);
  const auto printCells = [&](const std::string& date, const std::string& value) {
    output << std::left << std::setw(static_cast<int>(widths.date)) << date << "  " << std::right
           << std::setw(static_cast<int>(widths.value)) << value << "  ";
  };

  printCells("date", "value");
  output << "quality\n";
  for (const NumericalDataPoint& point : points) {
    printCells(NameDate(point.date, unit), FormatValue(point.value));
    const std::string bar = bars.Make(point.value);
    if (bar.empty()) {
      output << GetQualityText(point.quality) << '\n';
    } else {
      output << std::left << std::setw(QUALITY_WIDTH) << GetQualityText(point.quality) << "  "
             << bar << '\n';
    }
  }
  if (bars.AreShown()) {
    output << "The bars reach from " << FormatValue(bars.GetLowest()) << " to "
           << FormatValue(bars.GetHighest()) << ".\n";
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
