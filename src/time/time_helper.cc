#include "timeseries/time_helper.h"

#include <ctime>

#include "foundation/log.h"
#include "time/civil.h"
#include "time/fixed_interval.h"
#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase::TimeHelper {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::TimeHelper";

}  // namespace

StatusCode ConvertSamplingRateToQueryInterval(unsigned long samplingRate, QueryInterval& interval) {
  for (auto value = static_cast<unsigned char>(QueryInterval::OneMinute);
       value <= static_cast<unsigned char>(QueryInterval::Hour); ++value) {
    const auto candidate = static_cast<QueryInterval>(value);
    if (static_cast<unsigned long>(FixedSeconds(candidate)) == samplingRate) {
      interval = candidate;
      return StatusCode::Success;
    }
  }
  NVX_FAILURE_WITHOUT_OPERATION("Invalid sampling rate [%lu]", samplingRate);
  return StatusCode::InvalidArgument;
}

void ComputeNextDate(QueryInterval interval, const Date::Date& from, Date::Date& next) {
  const long long fixedSeconds = FixedSeconds(interval);
  if (fixedSeconds != 0) {
    next.timeZone = from.timeZone;
    next.timestamp = Date::AddSeconds(from.timestamp, fixedSeconds);
  } else if (interval == QueryInterval::Day) {
    next = from;
    next.AddDays(1);
  } else if (interval == QueryInterval::Month) {
    next = from;
    next.AddMonths(1);
  } else {
    NVX_ERROR_WITHOUT_OPERATION("QueryInterval not implemented");
  }
}

bool ConvertStringDateToUnixTime(const std::string& text, long long& seconds) {
  std::tm utc{};
  unsigned short unused = 0;
  // unreached: a date that can be read and has no time
  const bool isRead =
      DateTime::Encoder::FromString(text, utc, unused) && DateTime::Encoder::ToGmTime(utc, seconds);
  if (!isRead) {
    KeepFailure("Unable to parse date [%s]", text.c_str());
  }
  return isRead;
}

}  // namespace nvx::TimeSeriesDatabase::TimeHelper
