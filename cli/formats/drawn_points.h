#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "formats/curves.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

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

inline Extent FindExtent(const std::vector<Curve>& curves) {
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

}  // namespace nvx::TimeSeriesDatabase::CommandLine
