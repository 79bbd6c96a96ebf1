#pragma once

#include <optional>
#include <string>

#include "arguments/time_expression.h"
#include "timeseries/query_interval.h"
#include "timeseries/rrd/file_description.h"
#include "timeseries/rrd/numerical_data_source.h"
#include "timeseries/rrd_client.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// RRD files have no sample at the epoch or before it, where the RRD library counts steps
// differently.
constexpr long long EARLIEST_SAMPLE = 1;

// One file that is asked, and in which intervals. The store and the client must outlive it.
struct Query {
  std::string zeltId;
  std::string path;
  Rrd::FileDescription file;
  QueryInterval interval;
  RedisClientInterface& store;
  RrdClient& client;

  Rrd::NumericalDataSource MakeDataSource() const { return {path, store, client}; }
};

// Throws CommandError for a window of more samples than the archive that answers it has, or the
// memory may hold.
void RequireBoundedSamples(const Query& query, const TimeWindow& window);

// The same for its points.
void RequireBoundedPoints(const Query& query, const TimeWindow& window);

// The start of the first interval with a sample in the window, or the first sample itself where
// intervals do not begin at their bounds. Throws CommandError when there is no sample.
long long FindStart(const Query& query, const TimeWindow& window, bool isOnBound);

// The start of the interval of a sample that was found in an archive, or the sample itself where
// that does not reach back so far: not even for the start of an interval is a coarser one to
// answer.
Date::Date FindIntervalStart(const Query& query, const Date::Date& sample,
                             const Rrd::ArchiveDescription* archive);

// The start of the file's rows, or of its samples as the store has it. Throws CommandError when it
// cannot be read.
long long GetFirstRow(const Query& query);

// The file's first and last sample, from which a TIME may be counted. The query must outlive them;
// the first one throws CommandError when there is no sample.
FileTimes GetFileTimes(const Query& query);

// Leaves the complete intervals in the window. With `isPartial`, it may be left empty, and the
// interval that is cut by its end is returned, if one is.
std::optional<TimeWindow> AdjustWindow(const Query& query, bool isPartial, TimeWindow& window);

// Tells on standard error which archive of a file of another shape answers, and whether its rows
// are repeated because the intervals are shorter.
void TellArchive(const Query& query, const TimeWindow& window);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
