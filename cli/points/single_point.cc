#include "points/single_point.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

struct Run {
  std::vector<double> samples;
  bool endsWithSample = false;  // at the end of the window itself
};

// A fetch goes on to the step after an end between two steps.
Run Fetch(const Query& query, const TimeWindow& window) {
  const long long end = window.end.timestamp;
  const long long start = std::max(window.start.timestamp, std::min(EARLIEST_SAMPLE, end));
  Rrd::FetchResult result;
  Require(query.client.Fetch(query.path, start, end, result), query.zeltId,
          "no answer for " + TimeWindowToString(window));
  Run run;
  long long time = result.GetStartTime();
  for (unsigned int i = 0; i < result.GetSampleCount() && time <= end; ++i) {
    run.samples.push_back(result.GetData()[i]);
    run.endsWithSample = time == end;
    time += static_cast<long long>(result.GetStep());
  }
  return run;
}

NumericalDataPoint Compute(const Query& query, const PointFunction& function,
                           const TimeWindow& window, const std::vector<double>& samples) {
  NumericalDataPoint point;
  point.date = window.start;
  Require(function.compute(&samples.front(), &samples.back(), point.value, point.quality),
          query.zeltId, "no answer for " + TimeWindowToString(window));
  return point;
}

}  // namespace

NumericalDataPoint ComputeWhole(const Query& query, const PointFunction& function,
                                const TimeWindow& window) {
  Run run = Fetch(query, window);
  // Without a sample at its end, every sample is the window's own.
  if (run.samples.empty() || (function.leavesOutBoundary && !run.endsWithSample)) {
    run.samples.push_back(MISSING);
  }
  return Compute(query, function, window, run.samples);
}

NumericalDataPoint ComputePartial(const Query& query, const PointFunction& function,
                                  const TimeWindow& window) {
  Run run = Fetch(query, window);
  run.samples.push_back(MISSING);  // what will end the interval
  NumericalDataPoint point = Compute(query, function, window, run.samples);
  point.quality = false;
  return point;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
