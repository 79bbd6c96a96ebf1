#include "formats/curves.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/value_text.h"
#include "formats/time_axis.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t LEAST_COLUMNS = 10;
constexpr std::size_t LEAST_ROWS = 5;
constexpr std::size_t COLUMNS_A_ROW = 4;  // a chart is not higher than this allows

// The characters of the axes.
struct Frame {
  const char* side;
  const char* sideTick;
  const char* corner;
  const char* bottom;
  const char* bottomTick;
};

constexpr Frame ASCII_FRAME = {"|", "+", "+", "-", "+"};
constexpr Frame BOX_FRAME = {"│", "┤", "└", "─", "┬"};

// The position of `part`, from 0 to 1, in `count` dots.
long long Scale(double part, long long dotCount) {
  return std::llround(part * static_cast<double>(dotCount - 1));
}

class Chart {
 public:
  Chart(const Curves& chartCurves, const ChartSize& size, Drawing chartDrawing)
      : extent(FindExtent(chartCurves)),
        highest(FormatValue(extent.highest)),
        middle(FormatValue(extent.lowest / 2 + extent.highest / 2)),
        lowest(FormatValue(extent.lowest)),
        labelWidth(std::max({highest.size(), middle.size(), lowest.size()})),
        columns(std::max(size.columns, static_cast<unsigned int>(labelWidth + 2 + LEAST_COLUMNS)) -
                labelWidth - 2),
        rows(ChooseRows(size, chartCurves.size())),
        frame(chartDrawing == Drawing::Marks ? ASCII_FRAME : BOX_FRAME),
        canvas(columns, rows, chartDrawing) {
    for (std::size_t i = 0; i < chartCurves.size(); ++i) {
      Draw(chartCurves[i].points, i);
    }
  }

  void Print(const std::vector<std::string>& names, std::ostream& output) const {
    for (std::size_t i = 0; i < names.size(); ++i) {
      output << canvas.GetSample(i) << ' ' << names[i] << '\n';
    }
    if (extent.HasValues()) {
      for (std::size_t row = 0; row < rows; ++row) {
        PrintRow(row, output);
      }
      PrintTimes(output);
    }
    output << extent.first.ToText() << " - " << extent.last.ToText()
           << (extent.HasValues() ? "" : ": no value") << (hasBad ? "; o is bad" : "")
           << (extent.hasInfinite ? "; infinite values are not drawn" : "") << '\n';
  }

 private:
  // An odd number, so that one is in the middle.
  std::size_t ChooseRows(const ChartSize& size, std::size_t legendRows) const {
    const std::size_t taken = legendRows + 4;  // three lines below, and the next prompt
    const std::size_t left = size.rows > taken ? size.rows - taken : 0;
    const std::size_t most = std::min(left, size.columns / COLUMNS_A_ROW);
    return std::max(most + most % 2, LEAST_ROWS + 1) - 1;
  }

  double GetPart(const Date::Date& date) const {
    const long long span = extent.last.timestamp - extent.first.timestamp;
    return span == 0 ? 0.5
                     : static_cast<double>(date.timestamp - extent.first.timestamp) /
                           static_cast<double>(span);
  }

  // Halves, so that the difference does not overflow.
  Canvas::Dot Locate(const NumericalDataPoint& point) const {
    const double span = extent.highest / 2 - extent.lowest / 2;
    const double part = span > 0 ? (extent.highest / 2 - point.value / 2) / span : 0.5;
    return {Scale(GetPart(point.date), canvas.GetWidth()), Scale(part, canvas.GetHeight())};
  }

  // A line is only drawn where it goes beyond the dots that its column has already: there may be
  // many more points than columns.
  void Draw(const Points& points, std::size_t curve) {
    std::optional<Canvas::Dot> previous;
    long long top = 0;
    long long bottom = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (!IsDrawn(points, i)) {
        previous.reset();
        continue;
      }
      const Canvas::Dot dot = Locate(points[i]);
      const bool isInColumn = previous && previous->x == dot.x;
      if (!previous && !IsDrawn(points, i + 1)) {
        canvas.DrawPoint(dot, curve);
      } else if (!isInColumn || dot.y < top || dot.y > bottom) {
        canvas.DrawLine(previous.value_or(dot), dot, curve);
        top = isInColumn ? std::min(top, dot.y) : dot.y;
        bottom = isInColumn ? std::max(bottom, dot.y) : dot.y;
      }
      if (!points[i].quality) {
        canvas.DrawHollowPoint(dot, curve);
        hasBad = true;
      }
      previous = dot;
    }
  }

  void PrintRow(std::size_t row, std::ostream& output) const {
    const bool isEqual = extent.lowest == extent.highest;
    std::string label;
    if (row == rows / 2) {
      label = middle;
    } else if (row == 0 && !isEqual) {
      label = highest;
    } else if (row == rows - 1 && !isEqual) {
      label = lowest;
    }
    output << std::string(labelWidth - label.size(), ' ') << label << ' '
           << (label.empty() ? frame.side : frame.sideTick) << canvas.GetRow(row) << '\n';
  }

  void PrintTimes(std::ostream& output) const {
    constexpr std::size_t COLUMNS_A_LABEL = 10;
    const std::vector<Tick> ticks = ListTicks(extent.first.timestamp, extent.last.timestamp,
                                              extent.first.timeZone, columns / COLUMNS_A_LABEL);
    std::vector<bool> isTick(columns);
    std::string labels;
    for (const Tick& tick : ticks) {
      Date::Date date;
      date.timestamp = tick.timestamp;
      const auto column =
          static_cast<std::size_t>(Scale(GetPart(date), static_cast<long long>(columns)));
      isTick[column] = true;
      // Centred, if there is room.
      const std::size_t half = tick.label.size() / 2;
      const std::size_t begin = std::min(column > half ? column - half : 0,
                                         columns - std::min(columns, tick.label.size()));
      if (labels.empty() || begin > labels.size()) {
        labels.resize(begin, ' ');
        labels += tick.label;
      }
    }
    output << std::string(labelWidth + 1, ' ') << frame.corner;
    for (const bool has : isTick) {
      output << (has ? frame.bottomTick : frame.bottom);
    }
    output << '\n';
    if (!labels.empty()) {
      output << std::string(labelWidth + 2, ' ') << labels << '\n';
    }
  }

  Extent extent;
  std::string highest;
  std::string middle;
  std::string lowest;
  std::size_t labelWidth;  // of these three
  std::size_t columns;
  std::size_t rows;
  Frame frame;
  Canvas canvas;
  bool hasBad = false;
};

}  // namespace

void PrintChart(const Curves& curves, const std::vector<std::string>& names, const ChartSize& size,
                Drawing drawing, std::ostream& output) {
  Chart(curves, size, drawing).Print(names, output);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
