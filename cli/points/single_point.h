#pragma once

#include "points/point_function.h"
#include "points/query.h"
#include "timeseries/numerical_data_point.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The point of all samples from the start to the end of a window, wherever these lie. Throws
// CommandError when they cannot be fetched.
NumericalDataPoint ComputeWhole(const Query& query, const PointFunction& function,
                                const TimeWindow& window);

// The same of an interval whose end is still to come or was cut off, which is never good.
NumericalDataPoint ComputePartial(const Query& query, const PointFunction& function,
                                  const TimeWindow& window);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
