#include "timeseries/date/date.h"

#include <limits>
#include <sstream>

#include "support/dates.h"
#include "support/log_capture.h"
#include "support/table.h"
#include "timeseries/date/time_round_helper.h"

using namespace nvx::TimeSeriesDatabase;
using Date::RoundType;

namespace {

const std::string COMPONENT = "3[TimeSeriesDatabase::Date::Date] ";

// Does a step such as "up 15 minutes", "down day" or "1 month".
void Move(const std::string& step, Date::Date& date) {
  std::istringstream words(step);
  std::string direction;
  std::string unit;
  unsigned int count = 0;
  if (std::isdigit(step[0]) != 0) {
    words >> count >> unit;
    unit == "day" ? date.AddDays(count) : date.AddMonths(count);
    return;
  }
  words >> direction >> unit;
  const bool isUp = direction == "up";
  if (unit == "hour") {
    (isUp ? Date::Date::RoundUpTimeToHour : Date::Date::RoundDownTimeToHour)(date);
  } else if (unit == "day") {
    (isUp ? Date::Date::RoundUpTimeToDay : Date::Date::RoundDownTimeToDay)(date);
  } else if (unit == "month") {
    (isUp ? Date::Date::RoundUpTimeToMonth : Date::Date::RoundDownTimeToMonth)(date);
  } else {
    count = static_cast<unsigned int>(std::stoul(unit));
    (isUp ? Date::Date::RoundUpTimeToMinute : Date::Date::RoundDownTimeToMinute)(date, count);
  }
}

Date::Date At(const std::string& text, const std::string& zone = "Europe/Paris") {
  return Window(ToSeconds(text), 0, zone).start;
}

TEST(Date, CalendarStepsAcrossChangesOfTheClocks) {
  ForEachRow("calendar_steps.txt", [](const Row& row) {
    Date::Date date = At(row["from"], row["zone"]);
    Move(row["step"], date);
    EXPECT_EQ(ToShortText(date), row["to"]);
    EXPECT_EQ(date.timeZone.name(), row["zone"]);

    for (const long long end :
         {std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
      date.timestamp = end;
      Move(row["step"], date);
      EXPECT_EQ(date.timestamp < 0, end < 0) << "at an end of time";
    }
  });
}

TEST(Date, FirstHourOfDay) {
  for (const auto& [text, isFirst] : {std::pair("2021-03-14T01:00:00-04:00", true),
                                      {"2021-03-14T01:00:59-04:00", true},
                                      {"2021-03-15T00:00:59-04:00", true},
                                      {"2021-03-14T01:01:00-04:00", false},
                                      {"2021-03-15T01:00:00-04:00", false}}) {
    EXPECT_EQ(Date::Date::IsFirstHourOfDay(At(text, "America/Havana")), isFirst) << text;
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

TEST(Date, UnknownZonesAreRefused) {
  LogCapture log;
  Date::Date date = At("1970-01-01T01:00:07+01:00");
  EXPECT_EQ(date.Initialize(0, "No/Such_Zone"), StatusCode::InvalidArgument);
  EXPECT_EQ(date.Initialize("2021-03-28T01:00:00.000+00:00", "No/Such_Zone"),
            StatusCode::InvalidArgument);
  EXPECT_FALSE(date.IsTimeZoneSupported("No/Such_Zone"));
  EXPECT_EQ(date.timestamp, 7);
  EXPECT_EQ(date.timeZone.name(), "UTC");
  const std::string line = ": Unsupported time zone [No/Such_Zone]";
  EXPECT_EQ(log.Take(), (Lines{COMPONENT + "Initialize" + line, COMPONENT + "Initialize" + line,
                               COMPONENT + "IsTimeZoneSupported" + line}));
  EXPECT_TRUE(date.IsTimeZoneSupported("Europe/Paris") && date.IsTimeZoneSupported("UTC"));
  EXPECT_TRUE(log.Take().empty());
}

TEST(Date, AShorterMonthIsLogged) {
  LogCapture log(6);
  Date::Date date = At("2021-01-31T15:00:00+01:00");
  date.AddMonths(1);
  EXPECT_EQ(log.Take(), Lines{"6[TimeSeriesDatabase::Date::Date] AddMonths: Months overflow [1]"});
  date.AddMonths(1);
  EXPECT_TRUE(log.Take().empty());
}

TEST(TimeRoundHelper, RoundsToTheBoundsOfEachInterval) {
  unsigned char number = 0;
  ForEachRow("intervals.txt", [&number](const Row& row) {
    const QueryInterval interval{number++};
    for (const auto& [type, column] : {std::pair(RoundType::Down, "down"), {RoundType::Up, "up"}}) {
      Date::Date date = At("2021-06-15T10:37:45+02:00");
      Date::TimeRoundHelper::RoundBound(interval, type, date);
      EXPECT_EQ(ToShortText(date), row[column]);
    }
  });
  EXPECT_EQ(number, 14);
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
