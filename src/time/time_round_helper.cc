#include "timeseries/date/time_round_helper.h"

#include <string>

#include "foundation/log.h"
#include "time/fixed_interval.h"

namespace nvx::TimeSeriesDatabase::Date::TimeRoundHelper {
namespace {

const std::string COMPONENT_NAME = "Date::TimeRoundHelper";

void LogUnsupported(const char* operation, QueryInterval interval) {
  NVX_ERROR_IN(operation, "Unsupported interval [%u]", static_cast<unsigned int>(interval));
}

// The minutes of an interval shorter than an hour; 0 for any other value.
unsigned int MinuteGroup(QueryInterval interval) {
  const auto minutes = static_cast<unsigned int>(FixedSeconds(interval) / 60);
  return minutes < 60 ? minutes : 0;
}

}  // namespace

void RoundDownTime(QueryInterval interval, Date& date) {
  const unsigned int minutes = MinuteGroup(interval);
  if (minutes != 0) {
    return Date::RoundDownTimeToMinute(date, minutes);
  }
  switch (interval) {
    case QueryInterval::Hour:
    case QueryInterval::FullPeriod:
      return Date::RoundDownTimeToHour(date);
    case QueryInterval::Day:
      return Date::RoundDownTimeToDay(date);
    case QueryInterval::Month:
      return Date::RoundDownTimeToMonth(date);
    default:
      return LogUnsupported("RoundDownTime", interval);
  }
}

void RoundUpTime(QueryInterval interval, Date& date) {
  const unsigned int minutes = MinuteGroup(interval);
  if (minutes != 0) {
    return Date::RoundUpTimeToMinute(date, minutes);
  }
  switch (interval) {
    case QueryInterval::Hour:
    case QueryInterval::FullPeriod:
      return Date::RoundUpTimeToHour(date);
    case QueryInterval::Day:
      return Date::RoundUpTimeToDay(date);
    case QueryInterval::Month:
      return Date::RoundUpTimeToMonth(date);
    default:
      return LogUnsupported("RoundUpTime", interval);
  }
}

void RoundBound(QueryInterval interval, RoundType type, Date& date) {
  switch (type) {
    case RoundType::Up:
      return RoundUpTime(interval, date);
    case RoundType::Down:
      return RoundDownTime(interval, date);
  }
  NVX_ERROR("Round type does not exist");
}

}  // namespace nvx::TimeSeriesDatabase::Date::TimeRoundHelper
