#pragma once

#include <string>
#include <vector>

#include "timeseries/numerical_data_point.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The points of a function over a window, in the order of their dates.
using Points = std::vector<NumericalDataPoint>;

// Those of one data source.
struct Series {
  std::string zeltId;
  std::string function;  // its name
  Points points;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
