#pragma once

#include <functional>

#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// Reduces a run of samples, from `first` to `last` with both included, to one value. A sample that
// is NaN is missing. Sets `value`, to NaN when there is nothing to compute it from, and `valid`,
// whether the value can be trusted. NullPointer, with both unchanged, when a pointer is null. An
// empty run has `first` = `last` + 1; `first` is never beyond that.
using DataFunction =
    std::function<StatusCode(const double* first, const double* last, double& value, bool& valid)>;

// Every NaN that these functions return is the default quiet NaN, whatever NaNs the samples have.
namespace DataFunctions {

// The mean of the samples that are not missing; valid when no sample is missing. A run of two
// samples is one step and its end: its value is the first sample, valid unless that is missing.
NVX_TIMESERIES_EXPORT StatusCode ComputeAverageIgnoringNan(const double* first, const double* last,
                                                           double& value, bool& valid);

// The last sample that is not missing minus the first one that is not missing; valid when these
// two are the ends of the run. NaN when fewer than two samples are not missing.
NVX_TIMESERIES_EXPORT StatusCode ComputeDelta(const double* first, const double* last,
                                              double& value, bool& valid);

// What a counter has grown by: the sum of the steps upwards from each sample that is not missing to
// the next one. A drop is a restart from zero, so it counts as a step from 0. Valid when no sample
// is missing; NaN when fewer than two are not missing.
NVX_TIMESERIES_EXPORT StatusCode ComputeIncrease(const double* first, const double* last,
                                                 double& value, bool& valid);

// The least and the greatest of the samples that are not missing; valid when no sample is missing.
// For a run of two samples, as with the average, it is the first sample.
NVX_TIMESERIES_EXPORT StatusCode ComputeMinimum(const double* first, const double* last,
                                                double& value, bool& valid);
NVX_TIMESERIES_EXPORT StatusCode ComputeMaximum(const double* first, const double* last,
                                                double& value, bool& valid);

// The sum and the number of the samples that are not missing; valid when no sample is missing. The
// last sample of a run of several is left to the next run, which it begins, so that the sums of the
// days add up to that of their month. The number is 0, not NaN, when all are missing.
NVX_TIMESERIES_EXPORT StatusCode ComputeSum(const double* first, const double* last, double& value,
                                            bool& valid);
NVX_TIMESERIES_EXPORT StatusCode ComputeCount(const double* first, const double* last,
                                              double& value, bool& valid);

// The first and the last of the samples that are not missing; valid when no sample is missing. For
// a run of two samples only the first one counts, here and in the functions below.
NVX_TIMESERIES_EXPORT StatusCode ComputeFirst(const double* first, const double* last,
                                              double& value, bool& valid);
NVX_TIMESERIES_EXPORT StatusCode ComputeLast(const double* first, const double* last, double& value,
                                             bool& valid);

// The population standard deviation of the samples that are not missing: the root of the mean
// squared distance from their average. It is 0 for a single sample, and NaN when one is infinite.
// Valid when no sample is missing.
NVX_TIMESERIES_EXPORT StatusCode ComputeDeviation(const double* first, const double* last,
                                                  double& value, bool& valid);

// Sets `function` to one that computes the integral over time, in values times seconds, of samples
// that are `step` seconds apart (FetchResult::GetStep): each sample that is not missing holds up to
// the next one, so the last one of the run adds nothing and the integrals of the days add up to
// that of their month. Valid when no sample of the run is missing, the last one included. NaN for a
// run of one sample, which spans no time. InvalidArgument, with `function` unchanged, when `step`
// is 0.
NVX_TIMESERIES_EXPORT StatusCode MakeIntegral(unsigned long step, DataFunction& function);

// Sets `function` to one that finds a percentile by nearest rank, as in billing: of the n samples
// that are not missing, in ascending order, the one with the rank ceil(percent / 100 * n). Both
// ends of the run are included. The value is always one of the samples. Valid when no sample is
// missing.
//
// The percentage is given in thousandths of a percent, 1 to 100000, so that ranks are exact: 95000
// for the 95th percentile, 99900 for 99.9. InvalidArgument, with `function` unchanged, for others.
//
// The function keeps a buffer as long as the longest run so far. A copy has a buffer of its own.
// Two threads must not call the same function at once.
NVX_TIMESERIES_EXPORT StatusCode MakePercentile(unsigned int thousandths, DataFunction& function);

// The median as a percentile: for an even number of samples, the lower of the two in the middle.
constexpr unsigned int MEDIAN = 50000;

// The first of samples[0] to samples[count - 1] that is not missing; null when all are.
NVX_TIMESERIES_EXPORT const double* SearchForFirstValidSample(const double* samples,
                                                              unsigned int count);

// The last that is not missing of the `count` samples that end with *last; null when all are.
NVX_TIMESERIES_EXPORT const double* SearchForLastValidSample(const double* last,
                                                             unsigned int count);

}  // namespace DataFunctions
}  // namespace nvx::TimeSeriesDatabase
