#pragma once

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/query_interval.h"
#include "timeseries/status_code.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Walks a window once, interval by interval, and maps each interval to its samples. The sample on a
// bound belongs to both intervals that it separates: with a step of 60 seconds the FiveMinutes from
// 10:00 has the six samples of 10:00 to 10:05, and the next one begins with that of 10:05.
class NVX_TIMESERIES_EXPORT IntervalIterator {
 public:
  // samples[k] is the sample of the window's start + k * `step` seconds. The buffer must outlive
  // the iterator; `step` must not be 0. The caller promises a sample for every step of the window:
  // the iterator does not know where the buffer ends.
  IntervalIterator(const TimeWindow& window, const double* samples, unsigned long long step,
                   QueryInterval interval);

  // The same with a buffer of `sampleCount` samples. No position lies outside it, whatever the
  // window: an interval beyond its end has fewer samples, and at least the last one.
  IntervalIterator(const TimeWindow& window, const double* samples, unsigned long long step,
                   QueryInterval interval, unsigned int sampleCount);

  // Makes the first interval current. InvalidArgument for a window that is not valid; otherwise as
  // GoToNextInterval.
  StatusCode Initialize();

  // Makes the next interval current. EndOfIteration when the current one ends with the window;
  // OutOfRange when the next one would end after the window or has no end at all (FullPeriod, and
  // intervals at the last second that 64 bits hold). There is no current interval then.
  StatusCode GoToNextInterval();

  // Computes the interval that begins at the current start; a step of the two above.
  StatusCode ComputeCurrentIterator();

  // The samples of the current interval, both ends included, and its start. Both pointers are null
  // when the buffer is null or known to be empty.
  void GetCurrentInterval(const double*& first, const double*& last, Date::Date& date) const;

 private:
  TimeWindow window;
  const double* currentFirst;
  const double* currentLast;
  Date::Date currentStart;
  Date::Date nextStart;
  unsigned long long step;
  QueryInterval interval;
  const double* lastSample;  // null when the end of the buffer is not known
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
