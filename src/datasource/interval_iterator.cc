#include "timeseries/rrd/interval_iterator.h"

#include <string>

#include "datasource/sample_walk.h"
#include "foundation/log.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::IntervalIterator";

}  // namespace

IntervalIterator::IntervalIterator(const TimeWindow& window, const double* samples,
                                   unsigned long long step, QueryInterval interval)
    : window(window),
      currentFirst(samples),
      currentLast(samples),
      currentStart(window.start),
      step(step),
      interval(interval),
      lastSample(nullptr) {}

IntervalIterator::IntervalIterator(const TimeWindow& window, const double* samples,
                                   unsigned long long step, QueryInterval interval,
                                   unsigned int sampleCount)
    : IntervalIterator(window, sampleCount == 0 ? nullptr : samples, step, interval) {
  lastSample = currentFirst == nullptr ? nullptr : currentFirst + (sampleCount - 1);
}

StatusCode IntervalIterator::Initialize() {
  const StatusCode rc = window.IsValid();
  return rc == StatusCode::Success ? ComputeCurrentIterator() : rc;
}

StatusCode IntervalIterator::GoToNextInterval() {
  currentStart = nextStart;
  currentFirst = currentLast;
  return ComputeCurrentIterator();
}

StatusCode IntervalIterator::ComputeCurrentIterator() {
  Date::Date candidate;
  TimeHelper::ComputeNextDate(interval, currentStart, candidate);
  if (window.end.timestamp < candidate.timestamp) {
    if (currentStart.timestamp == window.end.timestamp) {
      NVX_TRACE("Reach last interval of time-window [%s]", TimeWindowToString(window).c_str());
      return StatusCode::EndOfIteration;
    }
    NVX_FAILURE("End date of interval [%lld] is superior to end date of time-window [%lld]",
                candidate.timestamp, window.end.timestamp);
    return StatusCode::OutOfRange;
  }
  if (candidate.timestamp <= currentStart.timestamp) {
    // The walk would never end.
    KeepFailure("Interval [%s] from [%lld] has no end", QueryIntervalToString(interval),
                currentStart.timestamp);
    return StatusCode::OutOfRange;
  }

  // Field by field: reading both fields at once so soon after two separate writes would stall the
  // processor.
  nextStart.timestamp = candidate.timestamp;
  nextStart.timeZone = candidate.timeZone;
  if (currentFirst != nullptr) {
    currentLast =
        FindSample(currentFirst, lastSample, currentStart.timestamp, nextStart.timestamp, step);
  }
  return StatusCode::Success;
}

void IntervalIterator::GetCurrentInterval(const double*& first, const double*& last,
                                          Date::Date& date) const {
  first = currentFirst;
  last = currentLast;
  date = currentStart;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
