#include "timeseries/rrd/interval_processor.h"

#include <string>

#include "datasource/sample_walk.h"
#include "foundation/log.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::IntervalProcessor";

// Computes value and quality of a point that has its date.
StatusCode ComputeValue(const DataFunction& function, const double* first, const double* last,
                        NumericalDataPoint& point) {
  const StatusCode rc = function(first, last, point.value, point.quality);
  NVX_TRACE_IN("Process", "Timestamp [%lld] dataPoint.value [%f]", point.date.timestamp,
               point.value);
  if (rc != StatusCode::Success) {
    NVX_FAILURE_IN("Process", "Failed to compute data function for date [%s], UTC timestamp [%lld]",
                   point.date.ToText().c_str(), point.date.timestamp);
  }
  return rc;
}

}  // namespace

IntervalProcessor::IntervalProcessor(const DataFunction& function, IntervalIterator& iterator)
    : function(function), iterator(iterator) {}

StatusCode IntervalProcessor::Process(std::vector<NumericalDataPoint>& points) {
  StatusCode rc = iterator.Initialize();
  // unreached: EndOfIteration, for a valid window has an interval
  if (rc != StatusCode::Success && rc != StatusCode::EndOfIteration) {
    NVX_ERROR("Failed to initialize iterator");
    return rc;
  }
  do {
    NumericalDataPoint point;
    rc = ComputePoint(point);
    if (rc != StatusCode::Success) {
      return rc;
    }
    points.push_back(point);
    rc = iterator.GoToNextInterval();
  } while (rc == StatusCode::Success);

  if (rc != StatusCode::EndOfIteration) {
    NVX_ERROR("Failed to determine next interval");
    return rc;
  }
  return StatusCode::Success;
}

StatusCode IntervalProcessor::ComputePoint(NumericalDataPoint& point) const {
  const double* first = nullptr;
  const double* last = nullptr;
  iterator.GetCurrentInterval(first, last, point.date);
  return ComputeValue(function, first, last, point);
}

StatusCode ProcessBounds(const std::vector<Date::Date>& bounds, const FetchResult& samples,
                         const DataFunction& function, std::vector<NumericalDataPoint>& points) {
  if (bounds.empty()) {
    return StatusCode::Success;
  }
  points.reserve(points.size() + bounds.size() - 1);
  const unsigned int count = samples.GetSampleCount();
  const unsigned long long step = samples.GetStep();
  const double* first = count == 0 ? nullptr : samples.GetData();
  const double* const end = first == nullptr ? nullptr : first + (count - 1);
  for (auto bound = bounds.begin(); bound + 1 != bounds.end(); ++bound) {
    const double* last = nullptr;
    if (first != nullptr) {
      last = FindSample(first, end, bound->timestamp, (bound + 1)->timestamp, step);
    }
    NumericalDataPoint point;
    point.date = *bound;
    const StatusCode rc = ComputeValue(function, first, last, point);
    if (rc != StatusCode::Success) {
      return rc;
    }
    points.push_back(point);
    first = last;
  }
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
