#include "time/civil.h"

#include <limits>

namespace nvx::TimeSeriesDatabase::Date {

cctz::civil_second ToLocal(const Date& date) {
  return date.timeZone.lookup(cctz::time_point<cctz::seconds>(cctz::seconds(date.timestamp))).cs;
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

}  // namespace nvx::TimeSeriesDatabase::Date
