#include "points/point_function.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

const Choices<PointFunction>& ListPointFunctions() {
  static const Choices<PointFunction> FUNCTIONS = {
      {"average", {DataFunctions::ComputeAverageIgnoringNan, false, false}},
      {"minimum", {DataFunctions::ComputeMinimum, false, false}},
      {"maximum", {DataFunctions::ComputeMaximum, false, false}},
      {"sum", {DataFunctions::ComputeSum, false, true}},
      {"count", {DataFunctions::ComputeCount, false, true}},
      {"increase", {DataFunctions::ComputeIncrease, false, false}},
      {"delta", {DataFunctions::ComputeDelta, true, false}},
  };
  return FUNCTIONS;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
