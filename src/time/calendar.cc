#include "timeseries/calendar.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "foundation/log.h"
#include "time/calendar_grid.h"
#include "time/civil.h"
#include "time/fixed_interval.h"
#include "timeseries/date/time_round_helper.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

namespace nvx::TimeSeriesDatabase {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Calendar";

// The same interval of QueryInterval, when there is one.
std::optional<QueryInterval> FindQueryInterval(const CalendarInterval& interval) {
  for (auto value = static_cast<unsigned char>(QueryInterval::OneMinute);
       value <= static_cast<unsigned char>(QueryInterval::FullPeriod); ++value) {
    const CalendarInterval own = ToCalendarInterval(static_cast<QueryInterval>(value));
    if (own.unit == interval.unit && own.count == interval.count &&
        own.dayStart == interval.dayStart) {
      return static_cast<QueryInterval>(value);
    }
  }
  return std::nullopt;
}

// Why the interval is not valid; null when it is.
const char* FindFault(const CalendarInterval& interval) {
  constexpr unsigned int HOURS_PER_DAY = 24;
  constexpr unsigned int SECONDS_PER_DAY = 86400;
  const bool isOfDays = interval.unit >= CalendarUnit::Day && interval.unit <= CalendarUnit::Year;
  if (interval.unit > CalendarUnit::FullPeriod || interval.weekStart > WeekStart::Sunday) {
    return "unknown unit or start of the week";
  }
  if (interval.count == 0) {
    return "the count is 0";
  }
  if (interval.dayStart >= SECONDS_PER_DAY) {
    return "no day begins that late";
  }
  if (interval.dayStart != 0 && !isOfDays) {
    return "only a day and what consists of days can begin at another time";
  }
  if (interval.unit == CalendarUnit::Hour && interval.count > HOURS_PER_DAY) {
    return "more hours than a day has";
  }
  if (interval.unit != CalendarUnit::Hour && !isOfDays && !FindQueryInterval(interval)) {
    return "the unit does not have this count";
  }
  return nullptr;
}

// Steps from bound to bound. `own` is the same interval of QueryInterval, if there is one.
class BoundWalk {
 public:
  BoundWalk(const CalendarInterval& interval, const std::optional<QueryInterval>& own) : own(own) {
    if (!own) {
      grid.emplace(interval);
    }
  }

  long long FindNext(const Date::Date& from) const {
    if (grid) {
      return grid->FindNext(from);
    }
    Date::Date next;
    TimeHelper::ComputeNextDate(*own, from, next);
    return next.timestamp;
  }

 private:
  std::optional<QueryInterval> own;
  std::optional<CalendarGrid> grid;
};

// Room for all bounds of minutes and hours, but not for more than a window of some years has.
std::size_t EstimateBoundCount(QueryInterval own, const TimeWindow& window) {
  constexpr unsigned int MOST = 1U << 20U;
  unsigned int count = 0;
  (void)TimeWindowHelper::CalculateDataPointsCapacity(window, own, count);
  return std::min(count, MOST) + std::size_t{1};
}

}  // namespace

StatusCode CalendarInterval::IsValid() const {
  const char* const fault = FindFault(*this);
  if (fault != nullptr) {
    NVX_FAILURE_WITHOUT_OPERATION(
        "Interval is invalid: %s, unit=%u, count=%u, dayStart=%u, weekStart=%u", fault,
        static_cast<unsigned int>(unit), count, dayStart, static_cast<unsigned int>(weekStart));
    return StatusCode::InvalidArgument;
  }
  return StatusCode::Success;
}

CalendarInterval ToCalendarInterval(QueryInterval interval) {
  const auto minutes = static_cast<unsigned int>(FixedSeconds(interval) / 60);
  CalendarInterval result;
  if (minutes != 0) {
    result.unit = minutes < 60 ? CalendarUnit::Minute : CalendarUnit::Hour;
    result.count = minutes < 60 ? minutes : 1;
  } else if (interval == QueryInterval::Month) {
    result.unit = CalendarUnit::Month;
  } else if (interval == QueryInterval::FullPeriod) {
    result.unit = CalendarUnit::FullPeriod;
  } else if (interval != QueryInterval::Day) {
    result.count = 0;
  }
  return result;
}

namespace Calendar {

StatusCode RoundDown(const CalendarInterval& interval, Date::Date& date) {
  const StatusCode rc = interval.IsValid();
  if (rc != StatusCode::Success) {
    return rc;
  }
  const std::optional<QueryInterval> own = FindQueryInterval(interval);
  if (own) {
    Date::TimeRoundHelper::RoundDownTime(*own, date);
  } else {
    date.timestamp = CalendarGrid(interval).FindLast(date);
  }
  return StatusCode::Success;
}

StatusCode RoundUp(const CalendarInterval& interval, Date::Date& date) {
  const StatusCode rc = interval.IsValid();
  if (rc != StatusCode::Success) {
    return rc;
  }
  const std::optional<QueryInterval> own = FindQueryInterval(interval);
  if (own) {
    Date::TimeRoundHelper::RoundUpTime(*own, date);
  } else if (const CalendarGrid grid(interval); grid.FindLast(date) != date.timestamp) {
    date.timestamp = grid.FindNext(date);
  }
  return StatusCode::Success;
}

StatusCode ComputeNextDate(const CalendarInterval& interval, const Date::Date& from,
                           Date::Date& next) {
  const StatusCode rc = interval.IsValid();
  if (rc != StatusCode::Success) {
    return rc;
  }
  if (interval.unit == CalendarUnit::FullPeriod) {
    NVX_FAILURE("FullPeriod has no next date");
    return StatusCode::InvalidArgument;
  }
  const long long timestamp = BoundWalk(interval, FindQueryInterval(interval)).FindNext(from);
  next.timeZone = from.timeZone;
  next.timestamp = timestamp;
  return StatusCode::Success;
}

StatusCode AdjustTimeWindow(const CalendarInterval& interval, TimeWindow& window) {
  StatusCode rc = window.IsValid();
  if (rc != StatusCode::Success) {
    return rc;
  }
  TimeWindow rounded = window;
  rc = RoundUp(interval, rounded.start);
  if (rc == StatusCode::Success) {
    rc = RoundDown(interval, rounded.end);
  }
  if (rc != StatusCode::Success) {
    return rc;
  }
  rc = rounded.IsValid();
  if (rc != StatusCode::Success) {
    NVX_INFO("There is no complete interval in the time window [%s]",
             TimeWindowToString(window).c_str());
    return rc;
  }
  window = rounded;
  return StatusCode::Success;
}

StatusCode ListBounds(const CalendarInterval& interval, const TimeWindow& window,
                      std::vector<Date::Date>& bounds) {
  StatusCode rc = interval.IsValid();
  if (rc == StatusCode::Success) {
    rc = window.IsValid();
  }
  if (rc != StatusCode::Success) {
    return rc;
  }
  if (interval.unit == CalendarUnit::FullPeriod) {
    bounds = {window.start, window.end};
    return StatusCode::Success;
  }
  const std::optional<QueryInterval> own = FindQueryInterval(interval);
  const BoundWalk walk(interval, own);
  bounds.clear();
  bounds.reserve(own ? EstimateBoundCount(*own, window) : 0);
  bounds.push_back(window.start);
  Date::Date bound = window.start;
  while (bound.timestamp != window.end.timestamp) {
    const long long next = walk.FindNext(bound);
    // unreached: a bound that is not later, from which the walk would never end
    if (next > window.end.timestamp || next <= bound.timestamp) {
      NVX_FAILURE("No interval from [%lld] ends in the time window [%s]", bound.timestamp,
                  TimeWindowToString(window).c_str());
      return StatusCode::OutOfRange;
    }
    bound.timestamp = next;
    bounds.push_back(bound);
  }
  return StatusCode::Success;
}

}  // namespace Calendar
}  // namespace nvx::TimeSeriesDatabase
