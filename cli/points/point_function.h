#pragma once

#include <string>

#include "arguments/choices.h"
#include "timeseries/data_functions.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What a query makes of the samples of an interval.
struct PointFunction {
  DataFunction compute;            // none yet for an integral, which depends on the step
  bool isDelta = false;            // over the whole window, the library computes it
  bool leavesOutBoundary = false;  // the last sample of a run belongs to the next run alone
  bool isIntegral = false;         // of the time from one sample to the next
};

// The functions by name, but for the percentiles other than the median; the average, the default,
// is the first.
const Choices<PointFunction>& ListPointFunctions();

// Why a text does not consist of different names of functions, with commas between them; empty when
// it does.
std::string FindFunctionProblem(const std::string& names);

// The functions of such a text, without a problem. Percentiles have their shortest names.
Choices<PointFunction> ReadPointFunctions(const std::string& names);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
