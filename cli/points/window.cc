#include "points/window.h"

#include <algorithm>

#include "base/command_error.h"
#include "base/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Points and rows of the time that a file does not cover, and points that lie in memory at once.
constexpr unsigned long long MAXIMUM_ROW_COUNT = 1ULL << 23;
constexpr unsigned long long MAXIMUM_POINT_COUNT = 1ULL << 21;

// The start of the file's rows, or of its samples as a store has it. A stored timestamp may be any
// number, and archives may reach back behind 1970, but no sample can.
long long GetFirstRow(const Source& source) {
  MetadataStore& store = source.context.store;
  if (store.IsNamed()) {
    long long first = 0;
    Require(source.context.MakeDataSource(source.path).GetFirstTimestamp(first), source.name,
            "its first timestamp cannot be read");
    if (store.GetFound()) {
      return std::max(ClampTime(first), EARLIEST_SAMPLE);
    }
  }
  return std::max(GetOldestRow(source), EARLIEST_SAMPLE);
}

[[noreturn]] void RefuseMissing(const Source& source, const TimeWindow& window) {
  throw CommandError(source.name, "no sample in " + TimeWindowToString(window),
                     StatusCode::NotFound);
}

// The first sample up to `end`; nothing when there is none.
std::optional<long long> FindFirst(RowReader& rows, long long firstRow, long long end) {
  return firstRow > end ? firstRow : rows.FindFirstSample(firstRow, end);
}

// The start of the interval of a sample, or the sample itself where its archive does not reach back
// to that start: a coarser archive must not answer even for the start of an interval.
Date::Date FindIntervalStart(const Question& question, const Source& source,
                             const Date::Date& sample) {
  const Date::Date bound = question.interval->RoundDown(sample);
  return ChooseArchive(source, bound.timestamp).archive ==
                 ChooseArchive(source, sample.timestamp).archive
             ? bound
             : sample;
}

unsigned long long GetSeconds(const TimeWindow& window) {
  return static_cast<unsigned long long>(
      std::max(0LL, window.end.timestamp - window.start.timestamp));
}

// Seconds of a window that a file does not cover, whose rows reach from `first` to `last`.
unsigned long long GetUncovered(const TimeWindow& window, long long first, long long last) {
  TimeWindow before = window;
  before.end.timestamp = std::min(window.end.timestamp, first);
  TimeWindow after = window;
  after.start.timestamp = std::max(window.start.timestamp, last);
  return GetSeconds(before) + GetSeconds(after);
}

void RequireCount(const Source& source, long long first, unsigned long long count,
                  unsigned long long maximum) {
  if (count > maximum) {
    throw CommandError(source.name,
                       "the window is too long; the file covers " + FormatUtc(first) + " - " +
                           FormatUtc(source.file.lastUpdate),
                       StatusCode::OutOfRange);
  }
}

// Describes a change of the clocks in a window that is not a multiple of the interval: intervals
// that are counted in seconds then no longer end on bounds.
std::string DescribeClockChange(const TimeWindow& window, long long intervalLength) {
  constexpr long long HALF_AN_HOUR = 1800;
  cctz::time_point<cctz::seconds> instant{cctz::seconds(window.start.timestamp)};
  cctz::time_zone::civil_transition change;
  while (window.start.timeZone.next_transition(instant, &change)) {
    instant = window.start.timeZone.lookup(change.to).trans;
    if (instant.time_since_epoch().count() > window.end.timestamp) {
      break;
    }
    const long long seconds = std::abs(change.to - change.from);
    if (seconds % intervalLength != 0) {
      if (seconds == HALF_AN_HOUR) {
        return ": the clocks change by half an hour in it; the intervals 30m and 1d work";
      }
      return ": the clocks change by " + std::to_string(seconds) +
             " s in it; the interval 1d works";
    }
  }
  return "";
}

}  // namespace

TimeWindow MakeWindow(const Question& question, long long start, long long end) {
  TimeWindow window;
  window.start.timeZone = question.zone;
  window.start.timestamp = start;
  window.end.timeZone = question.zone;
  window.end.timestamp = end;
  return window;
}

long long GetFirstSample(const Source& source, RowReader& rows) {
  const long long last = source.file.lastUpdate;
  const long long firstRow = GetFirstRow(source);
  const std::optional<long long> first = FindFirst(rows, firstRow, last);
  if (!first) {
    RefuseMissing(source, MakeWindow(Question(), firstRow, last));
  }
  return *first;
}

TimeWindow ResolveWindow(const Question& question, const Source& source, RowReader& rows,
                         std::optional<long long> confirmed) {
  FileTimes times{[&] { return GetFirstSample(source, rows); },
                  [&] { return source.file.lastUpdate; }};
  TimeWindow window = MakeWindow(question, 0, source.file.lastUpdate);
  if (question.to) {
    const long long end = question.to->Resolve(times);
    window.end.timestamp = question.isResumable ? std::min(end, window.end.timestamp) : end;
  }
  if (question.from) {
    times.windowEnd = window.end.timestamp;
    window.start.timestamp = question.from->Resolve(times);
    return window;
  }
  if (confirmed && HasSingleArchive(source)) {
    window.start.timestamp = std::max(*confirmed + 1, GetOldestRow(source));
    return window;
  }
  window.start.timestamp = GetFirstRow(source);
  const std::optional<long long> first =
      FindFirst(rows, window.start.timestamp, window.end.timestamp);
  if (!first && question.interval) {
    RefuseMissing(source, window);
  }
  window.start.timestamp = first.value_or(window.end.timestamp + 1);
  const bool isOnBound =
      question.interval && !question.interval->IsWhole() && !question.isUnadjusted;
  if (isOnBound) {
    window.start = FindIntervalStart(question, source, window.start);
  }
  return window;
}

std::optional<Intervals> FindIntervals(const Question& question, const TimeWindow& window) {
  Intervals intervals{window, std::nullopt};
  if (question.isUnadjusted) {
    return intervals;
  }
  const Interval& interval = *question.interval;
  const TimeWindow complete{interval.RoundUp(window.start), interval.RoundDown(window.end)};
  const TimeWindow rest{complete.end, window.end};
  if (question.isPartial && rest.start.timestamp < rest.end.timestamp) {
    intervals.cut = rest;
  }
  if (question.isPartial && complete.start.timestamp == complete.end.timestamp) {
    intervals.complete = complete;
    return intervals;
  }
  const StatusCode status = Calendar::AdjustTimeWindow(interval.GetCalendar(), intervals.complete);
  return status == StatusCode::Success ? std::optional(intervals) : std::nullopt;
}

long long GetIntervalLength(const Question& question, const TimeWindow& window) {
  const Interval& interval = *question.interval;
  if (interval.IsWhole()) {
    return window.end.timestamp - window.start.timestamp;
  }
  const Date::Date next = interval.ComputeNext(window.start);
  // A window that begins between two bounds may begin shortly before one.
  const bool isWholeStep = interval.GetQueryInterval().has_value();
  return isWholeStep ? next.timestamp - window.start.timestamp
                     : interval.ComputeNext(next).timestamp - next.timestamp;
}

bool HasBoundOnRow(const Question& question, long long rowLength, Date::Date start) {
  // A row of a day lies on one of as many minutes.
  constexpr int LONGEST_SEARCH = 24 * 60;
  const bool isFixed = question.interval->IsFixed();
  const long long length = isFixed ? GetIntervalLength(question, {start, start}) : 1;
  for (int i = 0; i < LONGEST_SEARCH; ++i) {
    if (start.timestamp % rowLength == 0) {
      return true;
    }
    start.timestamp -= length;
    if (!isFixed) {
      start = question.interval->RoundDown(start);
    }
    if (question.isUnadjusted || start.timestamp < EARLIEST_SAMPLE) {
      break;
    }
  }
  return false;
}

void RequireForward(const Question& question, const Source& source, const TimeWindow& window) {
  const bool isAsked = question.from || question.to || question.interval->IsWhole();
  if (isAsked && window.start.timestamp >= window.end.timestamp) {
    throw CommandError(source.name, question.from || question.to
                                        ? "from is not before to: " + TimeWindowToString(window)
                                        : "there is a single sample, of " +
                                              FormatUtc(source.file.lastUpdate) +
                                              "; with --from or --to the window has a length");
  }
}

void RefuseIncomplete(const Question& question, const Source& source, const TimeWindow& window) {
  throw CommandError(source.name,
                     "no complete " + question.intervalName + " in " + TimeWindowToString(window));
}

void SkipConfirmed(const Question& question, long long confirmed, const TimeWindow& window,
                   TimeWindow& complete) {
  if (confirmed + 1 >= window.start.timestamp) {
    complete.start.timestamp = confirmed;
    complete.start = question.interval->ComputeNext(complete.start);
  }
}

void RequireBounded(const Question& question, const Source& source, const ChosenArchive& chosen,
                    const TimeWindow& window) {
  const bool isWhole = question.interval->IsWhole();
  const auto length = static_cast<unsigned long long>(GetIntervalLength(question, window));
  const auto rowLength = static_cast<unsigned long long>(chosen.rowLength);
  const long long first = chosen.archive->firstTime;
  const auto uncovered = GetUncovered(window, first, source.file.lastUpdate);
  const auto held = isWhole || question.isAtOnce ? GetSeconds(window) : uncovered;
  const auto rowCount = static_cast<unsigned long long>(chosen.archive->rowCount);
  RequireCount(source, first, (isWhole ? held : uncovered) / rowLength,
               std::max(rowCount, MAXIMUM_ROW_COUNT));
  RequireCount(source, first, held / length, std::max(rowCount, MAXIMUM_POINT_COUNT));
}

void RequireFewPoints(const Question& question, const Source& source, long long first,
                      long long last, const TimeWindow& window) {
  const auto length = static_cast<unsigned long long>(GetIntervalLength(question, window));
  const auto held = question.isAtOnce ? GetSeconds(window) : GetUncovered(window, first, last);
  RequireCount(source, first, held / length, MAXIMUM_POINT_COUNT);
}

void RequireEndOnBound(const Question& question, const Source& source, const TimeWindow& window) {
  const long long length = GetIntervalLength(question, window);
  const bool isFixed = question.interval->IsFixed();
  Date::Date bound = window.start;
  if (isFixed) {
    bound.timestamp += (window.end.timestamp - bound.timestamp) / length * length;
  }
  while (bound.timestamp < window.end.timestamp) {
    bound = question.interval->ComputeNext(bound);
  }
  if (bound.timestamp != window.end.timestamp) {
    throw CommandError(source.name,
                       "no interval ends with the window " + TimeWindowToString(window) +
                           (isFixed ? DescribeClockChange(window, length) : ""),
                       StatusCode::OutOfRange);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
