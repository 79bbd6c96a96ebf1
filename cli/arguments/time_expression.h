#pragma once

#include <cctz/time_zone.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char TIME_HELP[] =
    "TIME is ISO 8601, such as 2021-03-28T01:00:30+02:00, 2021-03-28T01:00 (or with a blank for "
    "the T), 2021-03-28, 20210328, 2021-03 or 2021, a quarter, 2021-Q2, or a week of ISO 8601, "
    "2021-W07. Without Z or an offset it is local time in the zone. A day, a week or a longer unit "
    "stands for its beginning: --to 2021-03-28 ends before the 28th. TIME may also be seconds "
    "since "
    "the epoch, such as 1616893200, or @N with any number, or now, today, yesterday, this-week, "
    "last-week (and so with month, quarter and year: their beginnings), first or last (the file's "
    "first and last sample) or, of --from, end (the window's end), followed by any number of "
    "offsets, such as now-24h, today-1mo+6h or "
    "last-7d; -7d alone is now-7d. All of the last month is --from last-month --to this-month. The "
    "units are s, m or min, h, d, w, mo, q and y. Days and longer units follow the calendar and "
    "keep the clock's time; in a month that is too short, the day is its last.";

// The times of a file that a TIME may be counted from; they are only looked for when they are
// needed.
struct FileTimes {
  std::function<long long()> findFirst;
  std::function<long long()> findLast;
  std::optional<long long> windowEnd = std::nullopt;  // known when the start is looked for
};

// A TIME: a time that is written out, or a word and the offsets from it.
class TimeExpression {
 public:
  // Days and weeks that a word names begin as `starts` has it. Throws UsageError for a text that is
  // no TIME.
  TimeExpression(const std::string& timeText, const cctz::time_zone& timeZone,
                 const CalendarInterval& starts = {});

  // Whether it is counted from the first or the last sample of a file.
  bool IsOfFile() const;

  // Whether it is counted from the beginning of a week, which is a Monday or a Sunday.
  bool IsOfWeek() const;

  // Seconds since the epoch; all of a program are counted from the same present. Outside
  // the years 1 to 9999 it throws UsageError, or CommandError if counted from a file. It also
  // throws what the functions throw.
  long long Resolve(const FileTimes& file) const;

 private:
  enum class Unit { Second, Day, Month };

  struct Offset {
    long long number;
    Unit unit;
  };

  struct Moment {
    long long timestamp;
    cctz::civil_second local;
  };

  Offset ReadOffset(std::string_view offsetText) const;
  Moment FindOrigin(const FileTimes& file) const;
  cctz::civil_second FindBegin(const cctz::civil_second& now) const;
  Moment MakeMoment(long long timestamp) const;
  Moment MakeMoment(const cctz::civil_second& local) const;
  Moment Move(const Moment& moment, const Offset& offset) const;
  [[noreturn]] void Refuse(const std::string& note = "") const;

  std::string text;
  cctz::time_zone zone;
  CalendarInterval calendar;
  std::string word;  // empty for a time that is written out
  long long writtenTime = 0;
  std::vector<Offset> offsets;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
