#pragma once

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "timeseries/calendar.h"

// The zones of the system's zoneinfo database, without the other names that some of them have.
inline std::vector<std::string> ListZones() {
  const std::string root = "/usr/share/zoneinfo/";
  std::vector<std::string> zones;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string zone = entry.path().string().substr(root.size());
    std::string magic(4, ' ');
    if (!entry.is_symlink() && zone.rfind("posix/", 0) != 0 && zone.rfind("right/", 0) != 0 &&
        std::ifstream(entry.path()).read(magic.data(), 4) && magic == "TZif") {
      zones.push_back(zone);
    }
  }
  std::sort(zones.begin(), zones.end());
  return zones;
}

// The calendar of a zone from 1969 to 2039, computed only from the offsets of the C library.
// Instants are seconds since the epoch; local times are counted as if the zone were UTC. Sets the
// zone of the process.
class LocalCalendar {
 public:
  using Interval = nvx::TimeSeriesDatabase::QueryInterval;

  // A time, up to the next one, in which the clocks do not change.
  struct Period {
    long long begin;
    long long offset;
  };

  explicit LocalCalendar(const std::string& zone) {
    setenv("TZ", (":" + zone).c_str(), 1);
    tzset();
    periods.push_back({-365 * DAY, OffsetAt(-365 * DAY)});
    for (long long after = -364 * DAY; after < 70 * 365 * DAY; after += DAY) {
      if (OffsetAt(after) != periods.back().offset) {
        AddChange(after - DAY, after);
      }
    }
  }

  const std::vector<Period>& Periods() const { return periods; }

  long long ToLocal(long long instant) const {
    const auto isLater = [](long long time, const Period& period) { return time < period.begin; };
    return instant +
           (std::upper_bound(periods.begin(), periods.end(), instant, isLater) - 1)->offset;
  }

  // The first instant at which the clocks show the local time or a later one.
  long long ToInstant(long long local) const {
    const auto isOver = [this, local](const Period& period) {
      return &period != &periods.back() && (&period + 1)->begin + period.offset <= local;
    };
    const auto period = std::partition_point(periods.begin(), periods.end(), isOver);
    return std::max(period->begin, local - period->offset);
  }

  long long RoundDown(Interval interval, long long instant) const {
    const long long local = ToLocal(instant);
    const long long start = Start(interval, local);
    return interval < Interval::Hour ? instant - (local - start) : ToInstant(start);
  }

  long long RoundUp(Interval interval, long long instant) const {
    const long long local = ToLocal(instant);
    const long long next = Start(interval, local, 1);
    if (local == Start(interval, local) ||
        (interval == Interval::Day && local % 60 == 0 && IsFirstHourOfDay(instant))) {
      return instant;
    }
    return interval < Interval::Hour ? instant + (next - local) : ToInstant(next);
  }

  long long AddDays(long long instant, int days) const {
    return ToInstant(Start(Interval::Day, ToLocal(instant), days));
  }

  long long AddMonths(long long instant, int months) const {
    const long long local = ToLocal(instant);
    const long long sameDay = Start(Interval::Month, local, months) + Start(Interval::Day, local) -
                              Start(Interval::Month, local);
    return ToInstant(std::min(sameDay, Start(Interval::Month, local, months + 1) - DAY));
  }

  long long Next(Interval interval, long long instant) const {
    return interval < Interval::Day    ? instant + Length(interval)
           : interval == Interval::Day ? AddDays(instant, 1)
                                       : AddMonths(instant, 1);
  }

  // The bounds of an interval of hours or longer, from one before `from` to one after `to`.
  std::vector<long long> ListBounds(const nvx::TimeSeriesDatabase::CalendarInterval& interval,
                                    long long from, long long to) const {
    using Unit = nvx::TimeSeriesDatabase::CalendarUnit;
    std::vector<long long> bounds;
    const auto add = [&](long long local) { bounds.push_back(ToInstant(local)); };
    const long long count = interval.count;
    if (interval.unit == Unit::Hour) {
      for (long long day = ToLocal(from) / DAY - 1; day <= ToLocal(to) / DAY + 1; ++day) {
        for (long long hour = 0; hour < 24; hour += count) {
          add(day * DAY + hour * 3600);
        }
      }
    } else if (interval.unit <= Unit::Week) {
      const bool isOfWeeks = interval.unit == Unit::Week;
      const bool isFromSunday =
          isOfWeeks && interval.weekStart == nvx::TimeSeriesDatabase::WeekStart::Sunday;
      const long long length = count * (isOfWeeks ? 7 : 1) * DAY;
      const long long first = (isFromSunday ? 3 : 4) * DAY + interval.dayStart;
      const long long before = (ToLocal(from) - first) / length * length - 2 * length;
      for (long long local = first + before; local <= ToLocal(to) + 2 * length; local += length) {
        add(local);
      }
    } else {
      const long long length = count * (interval.unit == Unit::Month     ? 1
                                        : interval.unit == Unit::Quarter ? 3
                                                                         : 12);
      long long month = (ToLocal(from) / (31 * DAY) / length - 1) * length;  // or earlier
      long long local = 0;
      do {
        local = Start(Interval::Month, 0, static_cast<int>(month));
        add(local + interval.dayStart);
        month += length;
      } while (local <= ToLocal(to) + 31 * DAY);
    }
    return WithoutThoseNotNeeded(std::move(bounds), from, to);
  }

  bool IsFirstHourOfDay(long long instant) const {
    const long long first = ToLocal(AddDays(instant, 0));
    return first == Start(Interval::OneMinute, ToLocal(instant)) + first % 60;
  }

  // The seconds of an interval, for a month those of the longest; FullPeriod has an hour's bounds.
  static long long Length(Interval interval) {
    constexpr int MINUTES[] = {1, 2, 3, 5, 6, 10, 12, 15, 20, 30, 60, 1440, 44640, 60};
    return MINUTES[static_cast<int>(interval)] * 60LL;
  }

 private:
  static constexpr long long DAY = 86400;

  static long long OffsetAt(std::time_t instant) {
    std::tm local{};
    return localtime_r(&instant, &local)->tm_gmtoff;
  }

  // The start of the interval of a local time, or of one that is so many intervals later.
  static long long Start(Interval interval, std::time_t local, int count = 0) {
    const long long length = Length(interval);
    if (interval != Interval::Month) {
      return local - (local % length + length) % length + count * length;
    }
    std::tm date{};
    gmtime_r(&local, &date);
    std::tm first{};
    first.tm_year = date.tm_year;
    first.tm_mon = date.tm_mon + count;
    first.tm_mday = 1;
    return timegm(&first);
  }

  // In their order, each once, from the last one that is not later than `from` to the first one
  // that is later than `to`.
  static std::vector<long long> WithoutThoseNotNeeded(std::vector<long long> bounds, long long from,
                                                      long long to) {
    std::sort(bounds.begin(), bounds.end());
    bounds.erase(std::unique(bounds.begin(), bounds.end()), bounds.end());
    bounds.erase(std::upper_bound(bounds.begin(), bounds.end(), to) + 1, bounds.end());
    bounds.erase(bounds.begin(), std::upper_bound(bounds.begin(), bounds.end(), from) - 1);
    return bounds;
  }

  // Finds the one change between two instants.
  void AddChange(long long before, long long after) {
    while (after - before > 1) {
      const long long middle = before + (after - before) / 2;
      (OffsetAt(middle) == periods.back().offset ? before : after) = middle;
    }
    periods.push_back({after, OffsetAt(after)});
  }

  std::vector<Period> periods;
};
