#pragma once

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/query_interval.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Walks a window interval by interval and maps each to its samples. The sample on a bound belongs
// to both intervals that it separates: with a step of 60 seconds the FiveMinutes from 10:00 has the
// six samples of 10:00 to 10:05, and the next one begins with that of 10:05. A forward cursor for
// one walk.
class NVX_TIMESERIES_EXPORT IntervalIterator {
 public:
  // samples[k] is the sample of the window's start + k * `step` seconds, 0 <= k < `sampleCount`.
  // The buffer must outlive the iterator; `step` must not be 0. Positions stop at the last sample,
  // whatever the window.
  IntervalIterator(const TimeWindow& queryWindow, const double* samples,
                   unsigned long long sampleStep, QueryInterval queryInterval,
                   unsigned int sampleCount);

  // Makes the first interval current. InvalidArgument for a window that is not valid; otherwise as
  // GoToNextInterval.
  StatusCode Initialize();

  // Makes the next interval current. EndOfIteration when the current one ends with the window;
  // OutOfRange when the next one would end after it, or never, as FullPeriod. There is no current
  // interval then.
  StatusCode GoToNextInterval();

  // Makes the interval from the current start current, for the two above.
  StatusCode ComputeCurrentIterator();

  // The samples of the current interval, both ends included, and its start. Without any sample in
  // the buffer both pointers are null.
  void GetCurrentInterval(const double*& first, const double*& last, Date::Date& date) const;

 private:
  TimeWindow window;
  const double* currentFirst;
  const double* currentLast;
  Date::Date currentStart;
  Date::Date nextStart;
  unsigned long long step;
  QueryInterval interval;
  const double* lastSample;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
