#include "timeseries/date/date.h"

#include <limits>
#include <tuple>

#include "support/dates.h"
#include "support/log_capture.h"
#include "timeseries/date/time_round_helper.h"
#include "timeseries/time_helper.h"

using namespace nvx::TimeSeriesDatabase;
using Date::RoundType;

namespace {

const std::string COMPONENT = "3[TimeSeriesDatabase::Date::Date] ";

Date::Date At(const std::string& text, const std::string& zone = "Europe/Paris") {
  return Window(ToSeconds(text), 0, zone).start;
}

TEST(Date, RoundsToAnyCountOfMinutes) {
  const long long from = ToSeconds("2021-06-01T10:59:30+02:00");
  for (const auto& [minutes, down, up] :
       {std::tuple(7U, 210, 210), {0U, 0, 0}, {90U, 3570, 1830}}) {
    Date::Date date = Window(from, 0, "Europe/Paris").start;
    Date::Date::RoundDownTimeToMinute(date, minutes);
    EXPECT_EQ(from - date.timestamp, down);
    date.timestamp = from;
    Date::Date::RoundUpTimeToMinute(date, minutes);
    EXPECT_EQ(date.timestamp - from, up);
  }
}

TEST(Date, StaysAtTheEndsOfTime) {
  using Limits = std::numeric_limits<long long>;
  for (const long long end : {Limits::min(), Limits::max()}) {
    const Date::Date from = Window(end, 0, "Europe/Paris").start;
    for (unsigned char number = 0; number < 14; ++number) {
      for (const RoundType type : {RoundType::Up, RoundType::Down}) {
        Date::Date date = from;
        Date::TimeRoundHelper::RoundBound(QueryInterval(number), type, date);
        EXPECT_EQ(date.timestamp < 0, end < 0) << int{number};
      }
    }
    for (const QueryInterval interval : {QueryInterval::Day, QueryInterval::Month}) {
      Date::Date next;
      TimeHelper::ComputeNextDate(interval, from, next);
      EXPECT_EQ(next.timestamp < 0, end < 0);
    }
  }
}

TEST(Date, InitializeReadsUtcAndShowsTheZone) {
  LogCapture log;
  Date::Date date;
  EXPECT_EQ(date.ToText(), "1970-01-01T00:00:00.000+00:00");
  EXPECT_EQ(date.Initialize("2021-03-28T01:00:00.000+00:00", "Europe/Paris"), StatusCode::Success);
  EXPECT_EQ(date.timestamp, 1616893200);
  EXPECT_EQ(date.ToText(), "2021-03-28T03:00:00.000+02:00");
  EXPECT_EQ(date.Initialize(-86400, "UTC"), StatusCode::Success);
  EXPECT_EQ(date.ToText(), "1969-12-31T00:00:00.000+00:00");
  EXPECT_TRUE(log.Take().empty());
  EXPECT_EQ(Date::Date::DATE_TIME_PATTERN_WITH_UTC_OFFSET, "%Y-%m-%d%ET%H:%M:%S.000%Ez");
  EXPECT_EQ(Date::Date::DATE_TIME_PATTERN_FOR_UTC_DATE, "%Y-%m-%d%ET%H:%M:%S.000+00:00");
}

TEST(Date, CivilTimesAreReadInTheirZone) {
  const std::tuple<cctz::civil_second, const char*, long long> cases[] = {
      {cctz::civil_second(2024, 1, 1), "Europe/Berlin", 1704063600},
      {cctz::civil_second(2021, 3, 28, 2, 30), "Europe/Paris", 1616893200},   // skipped
      {cctz::civil_second(2021, 10, 31, 2, 30), "Europe/Paris", 1635640200},  // repeated
      {cctz::civil_second(2021, 3, 14), "America/Havana", 1615698000},        // no midnight
      {cctz::civil_second(2011, 12, 30, 12), "Pacific/Apia", 1325239200},     // no such day
      {cctz::civil_second(1969, 12, 31, 23, 59, 59), "UTC", -1},
  };
  for (const auto& [civilTime, zone, timestamp] : cases) {
    Date::Date date;
    EXPECT_EQ(date.InitializeFromCivilTime(civilTime, zone), StatusCode::Success);
    EXPECT_EQ(date.timestamp, timestamp) << civilTime << " in " << zone;
    EXPECT_EQ(date.timeZone.name(), zone);
  }
}

TEST(Date, DaysBeginAtTheirFirstHour) {
  const std::string first = "2021-03-14T01:00:00.000-04:00";  // the clocks skip the one before
  const std::string next = "2021-03-15T00:00:00.000-04:00";
  const std::string third = "2021-03-16T00:00:00.000-04:00";
  for (const auto& [text, day] :
       {std::pair("2021-03-14T01:00:00-04:00", first), std::pair("2021-03-14T01:30:00-04:00", next),
        std::pair("2021-03-14T01:00:01-04:00", next), std::pair("2021-03-14T13:01:00-04:00", next),
        std::pair("2021-03-15T00:00:00-04:00", next),
        std::pair("2021-03-15T00:30:00-04:00", third)}) {
    Date::Date date = At(text, "America/Havana");
    Date::Date::RoundUpTimeToDay(date);
    EXPECT_EQ(date.ToText(), day) << text;
  }
}

// As a path, or cut at the NUL, two of the names are files in the zone database.
TEST(Date, UnknownZonesAreRefused) {
  std::string longName = "UTC";
  while (longName.size() < 256) {
    longName.insert(0, "./");
  }
  for (const std::string& name : {longName, std::string("UTC\0x", 5), std::string("No/Zone")}) {
    LogCapture log;
    Date::Date date = At("1970-01-01T01:00:07+01:00");
    EXPECT_FALSE(date.IsTimeZoneSupported(name));
    EXPECT_EQ(date.Initialize(0, name), StatusCode::InvalidArgument);
    EXPECT_EQ(date.timeZone, cctz::utc_time_zone());
    EXPECT_EQ(date.Initialize("2021-03-28T01:00:00.000+00:00", name), StatusCode::InvalidArgument);
    EXPECT_EQ(date.InitializeFromCivilTime(cctz::civil_second(), name),
              StatusCode::InvalidArgument);
    EXPECT_EQ(date.timestamp, 7);
    EXPECT_EQ(date.timeZone.name(), "UTC");
    const std::string line = ": Unsupported time zone [" + name.substr(0, name.find('\0')) + "]";
    EXPECT_EQ(log.Take(), (Lines{COMPONENT + "IsTimeZoneSupported" + line,
                                 COMPONENT + "Initialize" + line, COMPONENT + "Initialize" + line,
                                 COMPONENT + "InitializeFromCivilTime" + line}));
    EXPECT_TRUE(date.IsTimeZoneSupported("Europe/Paris") && date.IsTimeZoneSupported("UTC"));
    EXPECT_TRUE(log.Take().empty());
  }
}

TEST(Date, InitializeRefusesAnyOtherText) {
  for (const std::string text :
       {"2021-03-28T03:00:00.000+02:00", "2021-03-28T01:00:00+00:00", "2021-03-28T01:00:00.000Z",
        "2021-03-28T01:00:00.250+00:00", "2021-02-29T01:00:00.000+00:00", "2021-03-28", ""}) {
    LogCapture log;
    Date::Date date;
    date.timestamp = 7;
    EXPECT_EQ(date.Initialize(text, "Europe/Paris"), StatusCode::InvalidArgument);
    EXPECT_EQ(date.timestamp, 7);
    EXPECT_EQ(date.timeZone.name(), "Europe/Paris");
    EXPECT_EQ(log.Take(), Lines{COMPONENT + "Initialize: Unable to parse date [" + text + "]"});
  }
}

TEST(Date, IsComparedByItsInstant) {
  const Date::Date early = At("1970-01-01T01:00:07+01:00");
  const Date::Date same = At("1970-01-01T00:00:07+00:00");
  const Date::Date late = At("1970-01-01T01:00:08+01:00");
  EXPECT_TRUE(early == same && early <= same && early >= same);
  EXPECT_FALSE(early != same || early < same || early > same);
  EXPECT_TRUE(early < late && early <= late && early != late && late > early && late >= early);
  EXPECT_FALSE(early == late || late < early || late <= early);
}

TEST(Date, AShorterMonthIsLogged) {
  LogCapture log(6);
  Date::Date date = At("2021-01-31T15:00:00+01:00");
  date.AddMonths(1);
  EXPECT_EQ(log.Take(), Lines{"6[TimeSeriesDatabase::Date::Date] AddMonths: Months overflow [1]"});
  EXPECT_EQ(date.ToText(), "2021-02-28T00:00:00.000+01:00");
  date.AddMonths(1);
  EXPECT_TRUE(log.Take().empty());
}

TEST(TimeRoundHelper, ValuesOutsideTheEnumerationsAreLogged) {
  LogCapture log(3);
  Date::Date date = At("1970-01-01T01:00:07+01:00");
  Date::TimeRoundHelper::RoundDownTime(QueryInterval(14), date);
  Date::TimeRoundHelper::RoundUpTime(QueryInterval(255), date);
  Date::TimeRoundHelper::RoundBound(QueryInterval::Hour, RoundType(2), date);
  EXPECT_EQ(date.timestamp, 7);
  EXPECT_EQ(log.Take(), (Lines{"3[Date::TimeRoundHelper] RoundDownTime: Unsupported interval [14]",
                               "3[Date::TimeRoundHelper] RoundUpTime: Unsupported interval [255]",
                               "3[Date::TimeRoundHelper] RoundBound: Round type does not exist"}));
}

}  // namespace
