#include "timeseries/date/date.h"

#include "foundation/log.h"
#include "time/civil.h"

namespace nvx::TimeSeriesDatabase::Date {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Date::Date";

// cctz keeps every name that it is asked for, for ever. No file has a longer one, or one with a
// NUL.
bool IsZoneName(const std::string& name) {
  constexpr std::size_t LONGEST_NAME = 255;
  return name.size() <= LONGEST_NAME && name.find('\0') == std::string::npos;
}

bool LoadTimeZone(const char* operation, const std::string& name, cctz::time_zone& timeZone) {
  const bool isLoaded = IsZoneName(name) && cctz::load_time_zone(name, &timeZone);
  if (!isLoaded) {
    timeZone = cctz::utc_time_zone();
    NVX_FAILURE_IN(operation, "Unsupported time zone [%s]", name.c_str());
  }
  return isLoaded;
}

// cctz learned "%ET", the letter between date and time, only after the release that Debian ships.
std::string WithoutLetterSpecifier(std::string pattern) {
  const std::string specifier = "%ET";
  return pattern.replace(pattern.find(specifier), specifier.size(), "T");
}

}  // namespace

const std::string Date::DATE_TIME_PATTERN = "%Y-%m-%d%ET%H:%M:%S.000";
const std::string Date::DATE_TIME_PATTERN_WITH_UTC_OFFSET = DATE_TIME_PATTERN + "%Ez";
const std::string Date::DATE_TIME_PATTERN_FOR_UTC_DATE = DATE_TIME_PATTERN + "+00:00";

namespace {

const std::string TEXT_FORMAT = WithoutLetterSpecifier(Date::DATE_TIME_PATTERN_WITH_UTC_OFFSET);
const std::string UTC_FORMAT = WithoutLetterSpecifier(Date::DATE_TIME_PATTERN_FOR_UTC_DATE);

}  // namespace

StatusCode Date::Initialize(const std::string& text, const std::string& timeZoneName) {
  if (!LoadTimeZone("Initialize", timeZoneName, timeZone)) {
    return StatusCode::InvalidArgument;
  }
  cctz::time_point<cctz::seconds> instant;
  cctz::detail::femtoseconds fraction;
  if (!cctz::detail::parse(UTC_FORMAT, text, cctz::utc_time_zone(), &instant, &fraction)) {
    NVX_FAILURE("Unable to parse date [%s]", text.c_str());
    return StatusCode::InvalidArgument;
  }
  timestamp = instant.time_since_epoch().count();
  return StatusCode::Success;
}

StatusCode Date::Initialize(long long timestamp, const std::string& timeZoneName) {
  if (!LoadTimeZone("Initialize", timeZoneName, timeZone)) {
    return StatusCode::InvalidArgument;
  }
  this->timestamp = timestamp;
  return StatusCode::Success;
}

StatusCode Date::InitializeFromCivilTime(const cctz::civil_second& civilTime,
                                         const std::string& timeZoneName) {
  if (!LoadTimeZone("InitializeFromCivilTime", timeZoneName, timeZone)) {
    return StatusCode::InvalidArgument;
  }
  timestamp = ToTimestamp(civilTime, timeZone);
  return StatusCode::Success;
}

bool Date::IsTimeZoneSupported(const std::string& timeZoneName) const {
  cctz::time_zone loaded;
  return LoadTimeZone("IsTimeZoneSupported", timeZoneName, loaded);
}

std::string Date::ToText() const {
  const cctz::time_point<cctz::seconds> instant{cctz::seconds(timestamp)};
  return cctz::format(TEXT_FORMAT, instant, timeZone);
}

void Date::AddDays(unsigned int days) {
  timestamp = ToTimestamp(cctz::civil_second(cctz::civil_day(ToLocal(*this)) + days), timeZone);
}

void Date::AddMonths(unsigned int months) {
  const cctz::civil_second local = ToLocal(*this);
  const cctz::civil_month target = cctz::civil_month(local) + months;
  cctz::civil_day day = cctz::civil_day(target) + (local.day() - 1);
  if (cctz::civil_month(day) != target) {
    NVX_INFO("Months overflow [%u]", months);
    day = cctz::civil_day(target + 1) - 1;
  }
  timestamp = ToTimestamp(cctz::civil_second(day), timeZone);
}

}  // namespace nvx::TimeSeriesDatabase::Date
