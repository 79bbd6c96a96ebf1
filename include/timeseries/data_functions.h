#pragma once

#include <functional>

#include "timeseries/export.h"
#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase {

// Reduces the samples from `first` to `last`, both included, to one value. A sample that is NaN is
// missing. `value` is NaN when there is nothing to compute it from, and `valid` tells whether it
// can be trusted. NullPointer, with nothing written, when a pointer is null. `first` = `last` + 1
// is an empty run; it must not lie further on.
using DataFunction =
    std::function<StatusCode(const double* first, const double* last, double& value, bool& valid)>;

namespace DataFunctions {

// The mean of the samples that are not missing, valid when none is. Of a run of two samples, one
// step with both its bounds, it is the first.
NVX_TIMESERIES_EXPORT StatusCode ComputeAverageIgnoringNan(const double* first, const double* last,
                                                           double& value, bool& valid);

// The last sample that is not missing less the first one, valid when these are the ends of the run.
// NaN when they are not two.
NVX_TIMESERIES_EXPORT StatusCode ComputeDelta(const double* first, const double* last,
                                              double& value, bool& valid);

// The first of samples[0] to samples[count - 1] that is not missing, or null.
NVX_TIMESERIES_EXPORT const double* SearchForFirstValidSample(const double* samples,
                                                              unsigned int count);

// The last of the `count` samples that end with *last that is not missing, or null.
NVX_TIMESERIES_EXPORT const double* SearchForLastValidSample(const double* last,
                                                             unsigned int count);

}  // namespace DataFunctions
}  // namespace nvx::TimeSeriesDatabase
