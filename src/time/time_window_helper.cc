#include "timeseries/time_window_helper.h"

#include <string>

#include "foundation/log.h"
#include "time/civil.h"
#include "time/fixed_interval.h"
#include "timeseries/date/time_round_helper.h"

namespace nvx::TimeSeriesDatabase::TimeWindowHelper {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::TimeWindowHelper";
constexpr unsigned long long SECONDS_PER_DAY = 86400;

// The seconds from start to end; unsigned, since a valid window may have more than a signed number
// holds.
unsigned long long Duration(const TimeWindow& window) {
  return static_cast<unsigned long long>(window.end.timestamp) -
         static_cast<unsigned long long>(window.start.timestamp);
}

long long CountMonths(const TimeWindow& window) {
  return cctz::civil_month(ToLocal(window.end)) - cctz::civil_month(ToLocal(window.start));
}

}  // namespace

const RoundingStrategy DEFAULT_ROUNDING_STRATEGY = {Date::RoundType::Up, Date::RoundType::Down};

StatusCode AdjustTimeWindow(QueryInterval interval, const RoundingStrategy& strategy,
                            TimeWindow& window) {
  StatusCode rc = window.IsValid();
  if (rc != StatusCode::Success) {
    return rc;
  }
  TimeWindow rounded = window;
  Date::TimeRoundHelper::RoundBound(interval, strategy.startRoundType, rounded.start);
  Date::TimeRoundHelper::RoundBound(interval, strategy.endRoundType, rounded.end);
  rc = rounded.IsValid();
  if (rc != StatusCode::Success) {
    KeepFailure("There is no complete interval in the time window [%s]",
                TimeWindowToString(window).c_str());
    NVX_INFO("There is no complete intervals in the time window [%s], interval = [%s]",
             TimeWindowToString(window).c_str(), QueryIntervalToString(interval));
    return rc;
  }
  window = rounded;
  return StatusCode::Success;
}

StatusCode CalculateDataPointsCapacity(const TimeWindow& window, QueryInterval interval,
                                       unsigned int& capacity) {
  const StatusCode rc = window.IsValid();
  if (rc != StatusCode::Success) {
    NVX_ERROR("Time window is invalid");
    return rc;
  }
  const long long fixedSeconds = FixedSeconds(interval);
  if (fixedSeconds != 0) {
    capacity =
        static_cast<unsigned int>(Duration(window) / static_cast<unsigned long long>(fixedSeconds));
  } else if (interval == QueryInterval::Day) {
    capacity = static_cast<unsigned int>(Duration(window) / SECONDS_PER_DAY);
  } else if (interval == QueryInterval::Month) {
    capacity = static_cast<unsigned int>(CountMonths(window));
  } else if (interval == QueryInterval::FullPeriod) {
    capacity = 1;
  } else {
    NVX_FAILURE("Query interval is not handled");
    return StatusCode::InvalidArgument;
  }
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::TimeWindowHelper
