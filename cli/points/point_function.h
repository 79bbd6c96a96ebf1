#pragma once

#include "arguments/choices.h"
#include "timeseries/data_functions.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What a query makes of the samples of an interval.
struct PointFunction {
  DataFunction compute;
  bool isDelta = false;            // over the whole window, the library computes it
  bool leavesOutBoundary = false;  // the last sample of a run belongs to the next run alone
};

// The functions by name; the average, the default, is the first.
const Choices<PointFunction>& ListPointFunctions();

}  // namespace nvx::TimeSeriesDatabase::CommandLine
