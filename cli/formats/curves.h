#pragma once

#include <string>
#include <vector>

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

}  // namespace nvx::TimeSeriesDatabase::CommandLine
