#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "formats/canvas.h"
#include "timeseries/calendar.h"
#include "timeseries/numerical_data_point.h"

// Whole answers, for formats that need all points before they write the first.
namespace nvx::TimeSeriesDatabase::CommandLine {

using Points = std::vector<NumericalDataPoint>;

// The points of one function of a file, in the order of their dates.
struct Curve {
  std::string name;  // of the file or, where it has several, of the data source
  bool isOfSeveral = false;
  std::string function;  // its name
  Points points;
};
using Curves = std::vector<Curve>;

// The ranges of the dates and of the finite values of curves.
struct Extent {
  Date::Date first;  // both are 1970 without points
  Date::Date last;
  double lowest = std::numeric_limits<double>::infinity();
  double highest = -std::numeric_limits<double>::infinity();

  bool hasInfinite = false;  // values that are not drawn

  bool HasValues() const { return lowest <= highest; }
};

// Whether there is a point with this index and a value that can be drawn.
inline bool IsDrawn(const Points& points, std::size_t index) {
  return index < points.size() && std::isfinite(points[index].value);
}

inline Extent FindExtent(const Curves& curves) {
  Extent extent;
  bool isFirst = true;
  for (const Curve& one : curves) {
    for (const NumericalDataPoint& point : one.points) {
      if (isFirst || point.date.timestamp < extent.first.timestamp) {
        extent.first = point.date;
      }
      if (isFirst || point.date.timestamp > extent.last.timestamp) {
        extent.last = point.date;
      }
      isFirst = false;
      if (std::isfinite(point.value)) {
        extent.lowest = std::min(extent.lowest, point.value);
        extent.highest = std::max(extent.highest, point.value);
      }
      extent.hasInfinite |= std::isinf(point.value);
    }
  }
  return extent;
}

// A single curve: aligned columns of dates, values and qualities. A week, a quarter and a year are
// named as such. On a terminal with enough columns each finite value also gets a bar, from one mark
// for the lowest value to full length for the highest; the last line gives both. 0 columns mean
// that there is no terminal.
void PrintTable(const Curves& single, CalendarUnit unit, unsigned int terminalColumns,
                std::ostream& output);

// A column of dates and one for each curve, under its name. "*" marks a bad value, "-" a missing
// one.
void PrintTable(const Curves& curves, const std::vector<std::string>& names, CalendarUnit unit,
                std::ostream& output);

struct ChartSize {
  unsigned int columns;
  unsigned int rows;
};

// Draws curves with their names in the given columns and rows, or in more where those are too few.
// Instants have their true distances, with local times below. Lines break where a value is missing
// or infinite; a bad value is "o".
void PrintChart(const Curves& curves, const std::vector<std::string>& names, const ChartSize& size,
                Drawing drawing, std::ostream& output);

// Writes a script with its data inside, from which gnuplot draws a PNG to its standard output. Each
// curve has a line, which breaks where a value is missing or infinite; bad points are hollow. The
// x axis has local times, and changes of the clocks are marked.
void PrintGnuplot(const Curves& curves, const std::vector<std::string>& names,
                  std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
