#pragma once

#include <optional>

#include "points/question.h"
#include "points/row_reader.h"
#include "timeseries/time_window.h"

// The times of a question in one file, which are resolved only here. Every operation throws
// CommandError.
namespace nvx::TimeSeriesDatabase::CommandLine {

TimeWindow MakeWindow(const Question& question, long long start, long long end);

// The time of the file's first sample.
long long GetFirstSample(const Source& source, RowReader& rows);

// From the start to the end of the window. Without a start it begins with the first interval that
// has a sample, or with the first sample itself, without an end it ends with the file's last
// update; where there is no sample, that of samples ends before it starts. What was answered
// before, up to `confirmed`, need not be looked at again.
TimeWindow ResolveWindow(const Question& question, const Source& source, RowReader& rows,
                         std::optional<long long> confirmed);

struct Intervals {
  TimeWindow complete;
  std::optional<TimeWindow> cut;  // the one that the end of the window cuts, if it is asked for
};

// The intervals of a window; none when none is complete, unless one that is cut is asked for.
std::optional<Intervals> FindIntervals(const Question& question, const TimeWindow& window);

// Requires that a window that is asked for does not end before it begins.
void RequireForward(const Question& question, const Source& source, const TimeWindow& window);

// For a window without a complete interval.
[[noreturn]] void RefuseIncomplete(const Question& question, const Source& source,
                                   const TimeWindow& window);

// Leaves out the intervals up to the confirmed one. Nothing is left where `complete` then ends
// before it begins.
void SkipConfirmed(const Question& question, long long confirmed, const TimeWindow& window,
                   TimeWindow& complete);

// Seconds of an interval at the window's start; of all, those of the window.
long long GetIntervalLength(const Question& question, const TimeWindow& window);

// Whether a bound, from `start` back, lies on a row. The library finds the samples of all intervals
// that are counted from there at their places.
bool HasBoundOnRow(const Question& question, long long rowLength, Date::Date start);

// Requires that the answer is bounded: the time that the file does not cover is answered as well.
void RequireBounded(const Question& question, const Source& source, const ChosenArchive& chosen,
                    const TimeWindow& window);

// The same for points alone, where a file covers the time from `first` to `last`.
void RequireFewPoints(const Question& question, const Source& source, long long first,
                      long long last, const TimeWindow& window);

// Requires that the last interval ends with the window.
void RequireEndOnBound(const Question& question, const Source& source, const TimeWindow& window);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
