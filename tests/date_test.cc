#include "timeseries/date/date.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "timeseries/date/time_round_helper.h"

using namespace nvx::TimeSeriesDatabase;
using Date::RoundType;

namespace {

const std::string COMPONENT = "3[TimeSeriesDatabase::Date::Date] ";

// Reads the text form of a date without its fraction, offset included.
Date::Date At(const std::string& text, const std::string& zone) {
  cctz::time_point<cctz::seconds> instant;
  EXPECT_TRUE(cctz::parse("%Y-%m-%dT%H:%M:%S%Ez", text, cctz::utc_time_zone(), &instant)) << text;
  Date::Date date;
  EXPECT_EQ(date.Initialize(instant.time_since_epoch().count(), zone), StatusCode::Success);
  return date;
}

std::string Short(const Date::Date& date) {
  std::string text = date.ToText();
  return text.erase(text.find(".000"), 4);
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
    EXPECT_EQ(log.Take(), std::vector<std::string>{
                              COMPONENT + "Initialize: Unable to parse date [" + text + "]"});
  }
}

TEST(Date, UnknownZonesAreRefused) {
  LogCapture log;
  Date::Date date = At("2021-03-28T01:00:00+01:00", "Europe/Paris");
  const long long timestamp = date.timestamp;
  EXPECT_EQ(date.Initialize(0, "No/Such_Zone"), StatusCode::InvalidArgument);
  EXPECT_EQ(date.Initialize("2021-03-28T01:00:00.000+00:00", "No/Such_Zone"),
            StatusCode::InvalidArgument);
  EXPECT_FALSE(date.IsTimeZoneSupported("No/Such_Zone"));
  EXPECT_EQ(date.timestamp, timestamp);
  EXPECT_EQ(date.timeZone.name(), "UTC");
  const std::string line = ": Unsupported time zone [No/Such_Zone]";
  EXPECT_EQ(log.Take(), (std::vector<std::string>{COMPONENT + "Initialize" + line,
                                                  COMPONENT + "Initialize" + line,
                                                  COMPONENT + "IsTimeZoneSupported" + line}));
  EXPECT_TRUE(date.IsTimeZoneSupported("Europe/Paris") && date.IsTimeZoneSupported("UTC"));
  EXPECT_TRUE(log.Take().empty());
}

struct Step {
  const char* zone;
  const char* from;
  void (*move)(Date::Date& date);
  const char* to;
};

using D = Date::Date;
template <unsigned int N>
void Down(D& date) {
  D::RoundDownTimeToMinute(date, N);
}
template <unsigned int N>
void Up(D& date) {
  D::RoundUpTimeToMinute(date, N);
}
template <unsigned int N>
void Days(D& date) {
  date.AddDays(N);
}
template <unsigned int N>
void Months(D& date) {
  date.AddMonths(N);
}

const char PARIS[] = "Europe/Paris";     // +01:00, in summer +02:00, changes at 02:00 and 03:00
const char HAVANA[] = "America/Havana";  // -05:00, in summer -04:00, changes at 00:00 and 01:00
const char ASUNCION[] = "America/Asuncion";
const char KOLKATA[] = "Asia/Kolkata";
const char LORD_HOWE[] = "Australia/Lord_Howe";  // changes by half an hour
const char APIA[] = "Pacific/Apia";              // had no 2011-12-30

const Step STEPS[] = {
    {PARIS, "2021-06-01T10:37:45+02:00", Down<15>, "2021-06-01T10:30:00+02:00"},
    {PARIS, "2021-06-01T10:37:45+02:00", Up<15>, "2021-06-01T10:45:00+02:00"},
    {PARIS, "2021-06-01T10:45:00+02:00", Up<15>, "2021-06-01T10:45:00+02:00"},
    {PARIS, "2021-06-01T10:45:01+02:00", Up<15>, "2021-06-01T11:00:00+02:00"},
    {PARIS, "2021-06-01T10:59:30+02:00", Up<20>, "2021-06-01T11:00:00+02:00"},
    {PARIS, "2021-06-01T10:59:30+02:00", Up<7>, "2021-06-01T11:03:00+02:00"},
    {PARIS, "2021-06-01T10:59:30+02:00", Up<0>, "2021-06-01T10:59:30+02:00"},
    {PARIS, "2021-06-01T10:59:30+02:00", Down<0>, "2021-06-01T10:59:30+02:00"},
    {PARIS, "1969-12-31T23:59:59+01:00", Down<5>, "1969-12-31T23:55:00+01:00"},
    {KOLKATA, "2021-01-01T10:45:00+05:30", Down<20>, "2021-01-01T10:40:00+05:30"},
    {KOLKATA, "2021-01-01T10:45:00+05:30", D::RoundDownTimeToHour, "2021-01-01T10:00:00+05:30"},

    {PARIS, "2021-03-28T01:30:00+01:00", D::RoundUpTimeToHour, "2021-03-28T03:00:00+02:00"},
    {PARIS, "2021-10-31T02:30:00+01:00", D::RoundDownTimeToHour, "2021-10-31T02:00:00+02:00"},
    {PARIS, "2021-10-31T02:30:00+01:00", D::RoundUpTimeToHour, "2021-10-31T03:00:00+01:00"},
    {PARIS, "2021-10-31T02:30:00+02:00", D::RoundUpTimeToHour, "2021-10-31T03:00:00+01:00"},
    {PARIS, "2021-10-31T02:00:00+01:00", D::RoundUpTimeToHour, "2021-10-31T02:00:00+01:00"},
    {LORD_HOWE, "2021-10-03T02:45:00+11:00", D::RoundDownTimeToHour, "2021-10-03T02:30:00+11:00"},

    {HAVANA, "2021-03-14T10:00:00-04:00", D::RoundDownTimeToDay, "2021-03-14T01:00:00-04:00"},
    {HAVANA, "2021-03-14T01:00:00-04:00", D::RoundUpTimeToDay, "2021-03-14T01:00:00-04:00"},
    {HAVANA, "2021-03-14T01:00:01-04:00", D::RoundUpTimeToDay, "2021-03-15T00:00:00-04:00"},
    {HAVANA, "2021-03-13T12:00:00-05:00", D::RoundUpTimeToDay, "2021-03-14T01:00:00-04:00"},
    {HAVANA, "2021-11-07T00:30:00-05:00", D::RoundDownTimeToDay, "2021-11-07T00:00:00-04:00"},
    {HAVANA, "2021-11-07T00:00:00-05:00", D::RoundUpTimeToDay, "2021-11-07T00:00:00-05:00"},
    {PARIS, "2021-06-01T00:00:01+02:00", D::RoundUpTimeToDay, "2021-06-02T00:00:00+02:00"},
    {PARIS, "2021-06-01T00:01:00+02:00", D::RoundUpTimeToDay, "2021-06-02T00:00:00+02:00"},

    {ASUNCION, "2023-10-15T12:00:00-03:00", D::RoundDownTimeToMonth, "2023-10-01T01:00:00-03:00"},
    {ASUNCION, "2023-10-01T01:00:00-03:00", D::RoundUpTimeToMonth, "2023-11-01T00:00:00-03:00"},
    {ASUNCION, "2023-10-01T01:00:00-03:00", D::RoundUpTimeToDay, "2023-10-01T01:00:00-03:00"},
    {PARIS, "2021-02-01T00:00:00+01:00", D::RoundUpTimeToMonth, "2021-02-01T00:00:00+01:00"},
    {PARIS, "2021-02-01T00:00:01+01:00", D::RoundUpTimeToMonth, "2021-03-01T00:00:00+01:00"},
    {PARIS, "2021-12-31T23:59:59+01:00", D::RoundUpTimeToMonth, "2022-01-01T00:00:00+01:00"},
    {PARIS, "2021-03-31T23:59:59+02:00", D::RoundDownTimeToMonth, "2021-03-01T00:00:00+01:00"},

    {PARIS, "2021-03-27T00:00:00+01:00", Days<1>, "2021-03-28T00:00:00+01:00"},
    {PARIS, "2021-03-28T00:00:00+01:00", Days<1>, "2021-03-29T00:00:00+02:00"},
    {PARIS, "2021-03-10T15:20:00+01:00", Days<0>, "2021-03-10T00:00:00+01:00"},
    {HAVANA, "2021-03-13T00:00:00-05:00", Days<1>, "2021-03-14T01:00:00-04:00"},
    {APIA, "2011-12-29T12:00:00-10:00", Days<1>, "2011-12-31T00:00:00+14:00"},

    {PARIS, "2021-01-31T15:00:00+01:00", Months<1>, "2021-02-28T00:00:00+01:00"},
    {PARIS, "2020-01-31T00:00:00+01:00", Months<1>, "2020-02-29T00:00:00+01:00"},
    {PARIS, "2021-03-15T10:00:00+01:00", Months<1>, "2021-04-15T00:00:00+02:00"},
    {PARIS, "2021-12-01T00:00:00+01:00", Months<1>, "2022-01-01T00:00:00+01:00"},
    {PARIS, "2021-12-31T00:00:00+01:00", Months<14>, "2023-02-28T00:00:00+01:00"},
    {PARIS, "2021-03-10T15:20:00+01:00", Months<0>, "2021-03-10T00:00:00+01:00"},
};

TEST(Date, CalendarStepsAcrossChangesOfTheClocks) {
  for (const Step& step : STEPS) {
    Date::Date date = At(step.from, step.zone);
    step.move(date);
    EXPECT_EQ(Short(date), step.to) << "from " << step.from << " in " << step.zone;
    EXPECT_EQ(date.timeZone.name(), step.zone);
  }
}

TEST(Date, AShorterMonthIsLogged) {
  LogCapture log(6);
  Date::Date date = At("2021-01-31T15:00:00+01:00", PARIS);
  date.AddMonths(1);
  EXPECT_EQ(log.Take(), std::vector<std::string>{
                            "6[TimeSeriesDatabase::Date::Date] AddMonths: Months overflow [1]"});
  date.AddMonths(1);
  EXPECT_TRUE(log.Take().empty());
}

TEST(Date, FirstHourOfDay) {
  struct Case {
    const char* zone;
    const char* text;
    bool isFirst;
  };
  const Case cases[] = {
      {HAVANA, "2021-03-14T01:00:00-04:00", true},  {HAVANA, "2021-03-14T01:00:59-04:00", true},
      {HAVANA, "2021-03-14T01:01:00-04:00", false}, {HAVANA, "2021-03-15T01:00:00-04:00", false},
      {PARIS, "2021-06-01T00:00:59+02:00", true},   {PARIS, "2021-06-01T00:01:00+02:00", false},
  };
  for (const Case& expected : cases) {
    EXPECT_EQ(Date::Date::IsFirstHourOfDay(At(expected.text, expected.zone)), expected.isFirst)
        << expected.text;
  }
}

TEST(Date, TheEndsOfTimeDoNotOverflow) {
  for (const long long end :
       {std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
    for (const Step& step : STEPS) {
      Date::Date date;
      date.timestamp = end;
      step.move(date);  // the sanitizer watches
    }
  }
}

TEST(TimeRoundHelper, RoundsToTheIntervalsBounds) {
  struct Case {
    QueryInterval interval;
    const char* down;
    const char* up;
  };
  const Case cases[] = {
      {QueryInterval::OneMinute, "2021-06-15T10:37:00+02:00", "2021-06-15T10:38:00+02:00"},
      {QueryInterval::TwoMinutes, "2021-06-15T10:36:00+02:00", "2021-06-15T10:38:00+02:00"},
      {QueryInterval::ThreeMinutes, "2021-06-15T10:36:00+02:00", "2021-06-15T10:39:00+02:00"},
      {QueryInterval::FiveMinutes, "2021-06-15T10:35:00+02:00", "2021-06-15T10:40:00+02:00"},
      {QueryInterval::SixMinutes, "2021-06-15T10:36:00+02:00", "2021-06-15T10:42:00+02:00"},
      {QueryInterval::TenMinutes, "2021-06-15T10:30:00+02:00", "2021-06-15T10:40:00+02:00"},
      {QueryInterval::TwelveMinutes, "2021-06-15T10:36:00+02:00", "2021-06-15T10:48:00+02:00"},
      {QueryInterval::FifteenMinutes, "2021-06-15T10:30:00+02:00", "2021-06-15T10:45:00+02:00"},
      {QueryInterval::TwentyMinutes, "2021-06-15T10:20:00+02:00", "2021-06-15T10:40:00+02:00"},
      {QueryInterval::ThirtyMinutes, "2021-06-15T10:30:00+02:00", "2021-06-15T11:00:00+02:00"},
      {QueryInterval::Hour, "2021-06-15T10:00:00+02:00", "2021-06-15T11:00:00+02:00"},
      {QueryInterval::Day, "2021-06-15T00:00:00+02:00", "2021-06-16T00:00:00+02:00"},
      {QueryInterval::Month, "2021-06-01T00:00:00+02:00", "2021-07-01T00:00:00+02:00"},
      {QueryInterval::FullPeriod, "2021-06-15T10:00:00+02:00", "2021-06-15T11:00:00+02:00"},
  };
  for (const Case& expected : cases) {
    Date::Date date = At("2021-06-15T10:37:45+02:00", PARIS);
    Date::TimeRoundHelper::RoundBound(expected.interval, RoundType::Up, date);
    EXPECT_EQ(Short(date), expected.up);
    date = At("2021-06-15T10:37:45+02:00", PARIS);
    Date::TimeRoundHelper::RoundBound(expected.interval, RoundType::Down, date);
    EXPECT_EQ(Short(date), expected.down);
  }
}

TEST(TimeRoundHelper, ValuesOutsideTheEnumerationsAreLogged) {
  LogCapture log(3);
  Date::Date date = At("2021-06-15T10:37:45+02:00", PARIS);
  const long long timestamp = date.timestamp;
  Date::TimeRoundHelper::RoundDownTime(QueryInterval(14), date);
  Date::TimeRoundHelper::RoundUpTime(QueryInterval(255), date);
  Date::TimeRoundHelper::RoundBound(QueryInterval::Hour, RoundType(2), date);
  EXPECT_EQ(date.timestamp, timestamp);
  EXPECT_EQ(log.Take(), (std::vector<std::string>{
                            "3[Date::TimeRoundHelper] RoundDownTime: Unsupported interval [14]",
                            "3[Date::TimeRoundHelper] RoundUpTime: Unsupported interval [255]",
                            "3[Date::TimeRoundHelper] RoundBound: Round type does not exist"}));
}

}  // namespace
