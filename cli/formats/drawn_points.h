#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "points/points.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// From where to where the dates of series go, and their finite values.
struct Extent {
  Date::Date first;  // both are 1970 without points
  Date::Date last;
  double lowest = std::numeric_limits<double>::infinity();
  double highest = -std::numeric_limits<double>::infinity();

  bool HasValues() const { return lowest <= highest; }
};

// Whether there is a point of that index, with a value that can be drawn.
inline bool IsDrawn(const Points& points, std::size_t index) {
  return index < points.size() && std::isfinite(points[index].value);
}

inline Extent FindExtent(const std::vector<Series>& series) {
  Extent extent;
  bool isFirst = true;
  for (const Series& one : series) {
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
    }
  }
  return extent;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
