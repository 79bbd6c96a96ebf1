#pragma once

#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/query_interval.h"
#include "timeseries/status_code.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase::TimeWindowHelper {

// How each bound of a window is rounded.
struct RoundingStrategy {
  Date::RoundType startRoundType;
  Date::RoundType endRoundType;
};

// Start up and end down: only the complete intervals of a window remain.
NVX_TIMESERIES_EXPORT extern const RoundingStrategy DEFAULT_ROUNDING_STRATEGY;

// Rounds the bounds of `window` to bounds of `interval`. With the default strategy the window from
// 10:07 to 12:53 becomes 11:00 to 12:00 for Hour. InvalidArgument, with `window` unchanged, when it
// is not valid or nothing of it remains.
//
// Rounded up to an hour, the start may move back: where clocks fall back by two hours
// (Antarctica/Troll), the first occurrence of the next full hour may be earlier than the start.
NVX_TIMESERIES_EXPORT StatusCode AdjustTimeWindow(QueryInterval interval,
                                                  const RoundingStrategy& strategy,
                                                  TimeWindow& window);

// Estimates how many intervals fit into the window: a hint for reserving memory, no bound, since a
// Day counts as 86400 seconds here. InvalidArgument, with `capacity` unchanged, when the window is
// not valid or the interval unknown.
NVX_TIMESERIES_EXPORT StatusCode CalculateDataPointsCapacity(const TimeWindow& window,
                                                             QueryInterval interval,
                                                             unsigned int& capacity);

}  // namespace nvx::TimeSeriesDatabase::TimeWindowHelper
