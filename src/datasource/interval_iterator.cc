#include "timeseries/rrd/interval_iterator.h"

#include <algorithm>
#include <string>

#include "foundation/log.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::IntervalIterator";

// The number of the step that an instant lies in, modulo 2^64. It is rounded down before 1970 too,
// so that positions keep their order across the epoch.
unsigned long long StepNumber(long long timestamp, unsigned long long step) {
  if (timestamp >= 0) {
    return static_cast<unsigned long long>(timestamp) / step;
  }
  return ~(static_cast<unsigned long long>(-1 - timestamp) / step);
}

}  // namespace

IntervalIterator::IntervalIterator(const TimeWindow& queryWindow, const double* samples,
                                   unsigned long long sampleStep, QueryInterval queryInterval,
                                   unsigned int sampleCount)
    : window(queryWindow),
      currentFirst(sampleCount == 0 ? nullptr : samples),
      currentLast(currentFirst),
      currentStart(queryWindow.start),
      step(sampleStep),
      interval(queryInterval),
      lastSample(currentFirst == nullptr ? nullptr : samples + (sampleCount - 1)) {}

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
    NVX_ERROR("End date of interval [%lld] is superior to end date of time-window [%lld]",
              candidate.timestamp, window.end.timestamp);
    return StatusCode::OutOfRange;
  }
  if (candidate.timestamp <= currentStart.timestamp) {
    // An interval that has no next date would never bring the walk to its end.
    return StatusCode::OutOfRange;
  }

  nextStart = candidate;
  const auto remaining = static_cast<unsigned long long>(lastSample - currentFirst);
  const unsigned long long distance =
      StepNumber(nextStart.timestamp, step) - StepNumber(currentStart.timestamp, step);
  currentLast = currentFirst + std::min(distance, remaining);
  return StatusCode::Success;
}

void IntervalIterator::GetCurrentInterval(const double*& first, const double*& last,
                                          Date::Date& date) const {
  first = currentFirst;
  last = currentLast;
  date = currentStart;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
