#include "timeseries/rrd/interval_processor.h"

#include <string>

#include "foundation/log.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::IntervalProcessor";

}  // namespace

IntervalProcessor::IntervalProcessor(const DataFunction& function, IntervalIterator& iterator)
    : function(function), iterator(iterator) {}

StatusCode IntervalProcessor::Process(std::vector<NumericalDataPoint>& points) {
  StatusCode rc = iterator.Initialize();
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
  const StatusCode rc = function(first, last, point.value, point.quality);
  NVX_TRACE_IN("Process", "Timestamp [%lld] dataPoint.value [%f]", point.date.timestamp,
               point.value);
  if (rc != StatusCode::Success) {
    NVX_FAILURE_IN("Process", "Failed to compute data function for date [%s], UTC timestamp [%lld]",
                   point.date.ToText().c_str(), point.date.timestamp);
  }
  return rc;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
