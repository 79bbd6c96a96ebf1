#pragma once

#include <cctz/time_zone.h>
#include <gtest/gtest.h>

#include <string>

#include "timeseries/time_window.h"

using nvx::TimeSeriesDatabase::StatusCode;
using nvx::TimeSeriesDatabase::TimeWindow;

inline TimeWindow Window(long long start, long long end, const std::string& zone = "UTC",
                         const std::string& endZone = "") {
  TimeWindow window;
  EXPECT_EQ(window.start.Initialize(start, zone), StatusCode::Success);
  EXPECT_EQ(window.end.Initialize(end, endZone.empty() ? zone : endZone), StatusCode::Success);
  return window;
}

// Reads the text form of a date without its fraction, "2021-03-28T03:00:00+02:00".
inline long long ToSeconds(const std::string& text) {
  cctz::time_point<cctz::seconds> instant;
  EXPECT_TRUE(cctz::parse("%Y-%m-%dT%H:%M:%S%Ez", text, cctz::utc_time_zone(), &instant)) << text;
  return instant.time_since_epoch().count();
}

inline std::string ToShortText(const nvx::TimeSeriesDatabase::Date::Date& date) {
  std::string text = date.ToText();
  return text.erase(text.find(".000"), 4);
}
