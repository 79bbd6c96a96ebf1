#pragma once

#include <string>

#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text form of an instant in a zone: "2021-03-28T03:00:00.000+02:00".
inline std::string FormatLocal(long long timestamp, const cctz::time_zone& zone) {
  Date::Date date;
  date.timestamp = timestamp;
  date.timeZone = zone;
  return date.ToText();
}

// "good" or "bad".
inline const char* GetQualityText(bool quality) { return quality ? "good" : "bad"; }

}  // namespace nvx::TimeSeriesDatabase::CommandLine
