#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arguments/time_expression.h"
#include "points/interval.h"
#include "points/point_function.h"
#include "points/series.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What the user asks of any file.
struct Question {
  cctz::time_zone zone;
  std::optional<TimeExpression> from;
  std::optional<TimeExpression> to;
  std::optional<Interval> interval;  // none for the samples themselves
  std::string intervalName;          // as it was typed
  Choices<PointFunction> functions;  // at least one
  bool isUnadjusted = false;         // the window is taken as it is
  bool isPartial = false;            // the interval that its end cuts is added
  Labels labels;                     // of each series, for another database
  bool isAtOnce = false;             // all points are to lie in memory

  // The points are the same whatever was answered before: no interval ends after the file's last
  // update.
  bool isResumable = false;

  // The names of the values of a point.
  std::vector<std::string> GetValueNames() const {
    if (functions.size() == 1) {
      return {"value"};
    }
    return GetNames(functions);
  }
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
