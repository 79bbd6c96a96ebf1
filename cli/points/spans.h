#pragma once

#include <optional>
#include <string>
#include <vector>

#include "points/row_reader.h"

// Rows of averages, minima and maxima are spans: the row at T stands for the time (T - row, T].
namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether a file is answered by spans: it has averages, or minima or maxima and no last values.
bool HasSpans(const Rrd::FileDescription& file);

// Whether it has last values, and whether it has nothing else.
bool HasLastValues(const Rrd::FileDescription& file);
bool HasOnlyLastValues(const Rrd::FileDescription& file);

// The consolidation functions of a file whose rows can be exported, in the order AVERAGE, MIN, MAX,
// LAST.
std::vector<std::string> ListConsolidations(const Rrd::FileDescription& file);

// The archives that can answer for one value.
using Pool = std::vector<const Rrd::ArchiveDescription*>;

// Those of a consolidation function; where the file has none, those of averages, and where it has
// none either, those of one row a step, in which all are the same. Throws CommandError when there
// is none.
Pool FindPool(const Source& source, const std::string& consolidation);

// The time (begin, end], for which one archive answers. Rows may stand for more than that.
struct Segment {
  ChosenArchive chosen;
  long long begin;
  long long end;
};
using Segments = std::vector<Segment>;

// For every instant since 1970 the archive with the shortest rows that has it, in the order of the
// times. Empty when no archive has any.
Segments ChooseSegments(const Source& source, const Pool& pool);

// The archive of the newest sample or row.
ChosenArchive ChooseFinest(const Source& source);

// What answers for one consolidation function, and the rows that were read of it.
struct SpanArchives {
  SpanArchives(const Source& source, const std::string& function)
      : consolidation(function),
        segments(ChooseSegments(source, FindPool(source, function))),
        rows(source) {}

  std::string consolidation;
  Segments segments;
  RowReader rows;
};

// The time at which the first row begins that is not missing, of those behind `from` up to `to`.
std::optional<long long> FindFirstSpan(SpanArchives& archives, long long from, long long to);

// Which archive answers when, as far as it lies in the window.
std::string DescribeSegments(const Segments& segments, long long from, long long to);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
