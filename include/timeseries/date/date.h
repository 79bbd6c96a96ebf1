#pragma once

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>

#include <string>

#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Date {

// Which interval bound a date moves to when it is not on one.
enum class RoundType : int {
  Up = 0,    // the next one
  Down = 1,  // the one before
};

// An instant, and the time zone in which it is read as a calendar date.
//
// The instant never depends on the zone. The zone decides where an hour, a day or a month begins:
// every calendar operation below goes from the instant to local civil time, computes there, and
// goes back. On the way back two civil times are special. On 2021-03-28 the clocks of Europe/Paris
// jump from 02:00 to 03:00; the skipped 02:30 stands for the first instant after the gap,
// 03:00+02:00. On 2021-10-31 they fall from 03:00 to 02:00; the repeated 02:30 stands for its first
// occurrence, 02:30+02:00. A day that begins in a gap therefore begins at 01:00.
//
//   Date::Date date;
//   date.Initialize(1616893200, "Europe/Paris");  // 2021-03-28T03:00:00.000+02:00
//   date.AddDays(1);                              // 2021-03-29T00:00:00.000+02:00
//   Date::Date::RoundDownTimeToMonth(date);       // 2021-03-01T00:00:00.000+01:00
//
// The calendar operations change only `timestamp` and cannot fail.
class NVX_TIMESERIES_EXPORT Date {
 public:
  long long timestamp = 0;   // seconds since 1970-01-01T00:00:00 UTC
  cctz::time_zone timeZone;  // UTC by default

  // Format strings of cctz: what the other two begin with, the text form of a date, and the text
  // that Initialize reads, which is always UTC. A cctz that does not know "%ET" (up to 2.3) needs a
  // "T" in its place.
  static const std::string DATE_TIME_PATTERN;
  static const std::string DATE_TIME_PATTERN_WITH_UTC_OFFSET;
  static const std::string DATE_TIME_PATTERN_FOR_UTC_DATE;

  Date() = default;

  // Reads `text` as an instant in UTC, to be shown in the zone. It is written like
  // "2021-03-28T01:00:00.000+00:00", and always ends with ".000+00:00". cctz also takes blanks
  // around it, numbers without their leading zeros, years of other lengths, and the second 60 as
  // second 0 of the next minute. InvalidArgument for an unknown zone (the date's zone becomes UTC)
  // or any other text (the date gets the new zone); `timestamp` is unchanged in both cases.
  StatusCode Initialize(const std::string& text, const std::string& timeZoneName);

  // Sets the instant and the zone. InvalidArgument for an unknown zone: `timestamp` is unchanged
  // and the date's zone is UTC.
  StatusCode Initialize(long long timestamp, const std::string& timeZoneName);

  // Sets the zone, and the instant to that of a civil time there: year, month, day, hour, minute,
  // second. InvalidArgument for an unknown zone: `timestamp` is unchanged and the date's zone is
  // UTC. Skipped and repeated times are taken as told above:
  //
  //   using cctz::civil_second;
  //   date.InitializeFromCivilTime(civil_second(2024, 1, 1), "Europe/Berlin");
  //       // 1704063600, 2024-01-01T00:00:00.000+01:00
  //   date.InitializeFromCivilTime(civil_second(2021, 3, 28, 2, 30), "Europe/Paris");
  //       // skipped: 1616893200, 2021-03-28T03:00:00.000+02:00
  //   date.InitializeFromCivilTime(civil_second(2021, 10, 31, 2, 30), "Europe/Paris");
  //       // repeated: 1635640200, 2021-10-31T02:30:00.000+02:00
  StatusCode InitializeFromCivilTime(const cctz::civil_second& civilTime,
                                     const std::string& timeZoneName);

  // Whether the zoneinfo database knows the zone.
  bool IsTimeZoneSupported(const std::string& timeZoneName) const;

  // The text form, in the date's own zone: "2021-03-28T03:00:00.000+02:00".
  std::string ToText() const;

  // Moves to the start of the local day `days` days later.
  void AddDays(unsigned int days);

  // Moves to the start of the same day of the month `months` months later, or of that month's last
  // day when it is shorter.
  void AddMonths(unsigned int months);

  // Whether hour and minute are those of the first instant of the local day.
  static bool IsFirstHourOfDay(const Date& date);

  // Round to a multiple of `minutes` after the full local hour; 0 leaves the date unchanged.
  static void RoundDownTimeToMinute(Date& date, unsigned int minutes);
  static void RoundUpTimeToMinute(Date& date, unsigned int minutes);

  // Round to the start of a local hour, day or month. A date that is on such a bound stays, with
  // these exceptions:
  // - Rounding down moves the second occurrence of a repeated bound to the first one.
  // - Rounding up stays on an hour only at minute 0 and on a month only at 00:00, not where one
  //   begins after a gap at another time.
  // - Rounding up to an hour goes to the first occurrence of a repeated bound. Where clocks fall
  //   back by two hours (Antarctica/Troll), that may be earlier than the date.
  static void RoundDownTimeToHour(Date& date);
  static void RoundUpTimeToHour(Date& date);
  static void RoundDownTimeToDay(Date& date);
  static void RoundUpTimeToDay(Date& date);
  static void RoundDownTimeToMonth(Date& date);
  static void RoundUpTimeToMonth(Date& date);
};

// Compare the instants, whatever the zones.
inline bool operator==(const Date& lhs, const Date& rhs) { return lhs.timestamp == rhs.timestamp; }
inline bool operator!=(const Date& lhs, const Date& rhs) { return !(lhs == rhs); }
inline bool operator<(const Date& lhs, const Date& rhs) { return lhs.timestamp < rhs.timestamp; }
inline bool operator>(const Date& lhs, const Date& rhs) { return rhs < lhs; }
inline bool operator<=(const Date& lhs, const Date& rhs) { return !(rhs < lhs); }
inline bool operator>=(const Date& lhs, const Date& rhs) { return !(lhs < rhs); }

}  // namespace nvx::TimeSeriesDatabase::Date
