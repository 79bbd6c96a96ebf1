#include "time/civil.h"

#include <chrono>
#include <limits>

namespace nvx::TimeSeriesDatabase::Date {
namespace {

cctz::time_point<cctz::seconds> ToTimePoint(long long timestamp) {
  return cctz::time_point<cctz::seconds>(cctz::seconds(timestamp));
}

}  // namespace

cctz::civil_second ToLocal(const Date& date) {
  return date.timeZone.lookup(ToTimePoint(date.timestamp)).cs;
}

long long ToTimestamp(const cctz::civil_second& local, const cctz::time_zone& timeZone) {
  const cctz::time_zone::civil_lookup found = timeZone.lookup(local);
  const auto& instant =
      found.kind == cctz::time_zone::civil_lookup::SKIPPED ? found.trans : found.pre;
  return instant.time_since_epoch().count();
}

long long AddSeconds(long long timestamp, long long seconds) {
  using Limits = std::numeric_limits<long long>;
  if (seconds > 0) {
    return timestamp > Limits::max() - seconds ? Limits::max() : timestamp + seconds;
  }
  return timestamp < Limits::min() - seconds ? Limits::min() : timestamp + seconds;
}

std::string ToText(const Date& date) {
  return cctz::format(Date::DATE_TIME_PATTERN_WITH_UTC_OFFSET, ToTimePoint(date.timestamp),
                      date.timeZone);
}

}  // namespace nvx::TimeSeriesDatabase::Date
