#pragma once

#include <string>

#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// How a table names an interval that begins with a date: a week by the date of its first day,
// "2024-02-12", a quarter "2024-Q3", a year "2024", all others by the date's text form.
inline std::string NameDate(const Date::Date& date, CalendarUnit unit) {
  constexpr int MONTHS_PER_QUARTER = 3;
  const cctz::time_point<cctz::seconds> instant{cctz::seconds(date.timestamp)};
  std::string year = cctz::format("%E4Y", instant, date.timeZone);
  switch (unit) {
    case CalendarUnit::Week:
      return year + cctz::format("-%m-%d", instant, date.timeZone);
    case CalendarUnit::Quarter: {
      const int month = cctz::convert(instant, date.timeZone).month();
      return year + "-Q" + std::to_string((month - 1) / MONTHS_PER_QUARTER + 1);
    }
    case CalendarUnit::Year:
      return year;
    default:
      return date.ToText();
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
