#include "timeseries/query_interval.h"

namespace nvx::TimeSeriesDatabase {
namespace {

constexpr const char* NAMES[] = {
    "OneMinute",  "TwoMinutes",    "ThreeMinutes",   "FiveMinutes",   "SixMinutes",
    "TenMinutes", "TwelveMinutes", "FifteenMinutes", "TwentyMinutes", "ThirtyMinutes",
    "Hour",       "Day",           "Month",          "FullPeriod",
};
constexpr unsigned int COUNT = sizeof NAMES / sizeof *NAMES;

unsigned int Rank(QueryInterval interval) {
  const auto value = static_cast<unsigned int>(interval);
  return value < COUNT ? value + 1 : 0;
}

}  // namespace

const char* QueryIntervalToString(QueryInterval interval) {
  const auto value = static_cast<unsigned int>(interval);
  return value < COUNT ? NAMES[value] : "";
}

bool operator<(QueryInterval lhs, QueryInterval rhs) { return Rank(lhs) < Rank(rhs); }

bool operator>(QueryInterval lhs, QueryInterval rhs) { return Rank(lhs) > Rank(rhs); }

bool operator<=(QueryInterval lhs, QueryInterval rhs) { return Rank(lhs) <= Rank(rhs); }

}  // namespace nvx::TimeSeriesDatabase
