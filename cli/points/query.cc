#include "points/query.h"

#include <algorithm>
#include <cmath>

#include "base/command_error.h"
#include "base/message.h"
#include "base/time_text.h"
#include "rrd/described_file.h"
#include "timeseries/date/time_round_helper.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The samples of a fetch and the points of an answer lie in memory as a whole.
constexpr unsigned long MAXIMUM_SAMPLE_COUNT = 1UL << 23;
constexpr unsigned long MAXIMUM_POINT_COUNT = 1UL << 21;

unsigned long GetSeconds(const Date::Date& from, const Date::Date& to) {
  return static_cast<unsigned long>(to.timestamp) - static_cast<unsigned long>(from.timestamp);
}

unsigned long GetIntervalLength(const Query& query, const TimeWindow& window) {
  Date::Date next = window.end;
  if (query.interval != QueryInterval::FullPeriod) {
    TimeHelper::ComputeNextDate(query.interval, window.start, next);
  }
  return GetSeconds(window.start, next);
}

const Rrd::ArchiveDescription& GetArchive(const Query& query, const TimeWindow& window) {
  return RequireArchive(query.file, window.start.timestamp, query.zeltId);
}

void RequireBounded(const Query& query, const Rrd::ArchiveDescription& archive, unsigned long count,
                    unsigned long maximum) {
  if (count > std::max(archive.rowCount, maximum)) {
    throw CommandError(query.zeltId,
                       "the window is too long; the file covers " + FormatUtc(archive.firstTime) +
                           " - " + FormatUtc(query.file.lastUpdate),
                       StatusCode::OutOfRange);
  }
}

}  // namespace

void RequireBoundedSamples(const Query& query, const TimeWindow& window) {
  const Rrd::ArchiveDescription& archive = GetArchive(query, window);
  RequireBounded(query, archive,
                 GetSeconds(window.start, window.end) / GetRowLength(query.file, archive),
                 MAXIMUM_SAMPLE_COUNT);
}

void RequireBoundedPoints(const Query& query, const TimeWindow& window) {
  RequireBounded(query, GetArchive(query, window),
                 GetSeconds(window.start, window.end) / GetIntervalLength(query, window),
                 MAXIMUM_POINT_COUNT);
}

// A stored timestamp may be any number, and archives may reach back behind 1970, but no sample can.
long long GetFirstRow(const Query& query) {
  long long first = 0;
  Require(query.MakeDataSource().GetFirstTimestamp(first), query.zeltId,
          "its first timestamp cannot be read");
  return std::max(ClampTime(first), EARLIEST_SAMPLE);
}

FileTimes GetFileTimes(const Query& query) {
  const auto findLast = [&query] { return query.file.lastUpdate; };
  const auto findFirst = [&query] {
    TimeWindow window;
    window.end.timestamp = query.file.lastUpdate;
    window.start.timestamp = std::min(GetFirstRow(query), window.end.timestamp);
    RequireBoundedSamples(query, window);
    return FindStart(query, window, false);
  };
  return {findFirst, findLast};
}

long long FindStart(const Query& query, const TimeWindow& window, bool isOnBound) {
  Rrd::FetchResult result;
  Require(query.client.Fetch(query.path, window.start.timestamp, window.end.timestamp, result),
          query.zeltId, "no answer for " + TimeWindowToString(window));
  const double* const end = result.GetData() + result.GetSampleCount();
  const double* const found =
      std::find_if(result.GetData(), end, [](double sample) { return !std::isnan(sample); });
  Date::Date start = window.start;
  start.timestamp =
      result.GetStartTime() + (found - result.GetData()) * static_cast<long long>(result.GetStep());
  if (found == end || start.timestamp > window.end.timestamp) {
    throw CommandError(query.zeltId, "no sample in " + TimeWindowToString(window),
                       StatusCode::NotFound);
  }
  return isOnBound ? FindIntervalStart(query, start, &GetArchive(query, window)).timestamp
                   : start.timestamp;
}

Date::Date FindIntervalStart(const Query& query, const Date::Date& sample,
                             const Rrd::ArchiveDescription* archive) {
  Date::Date bound = sample;
  Date::TimeRoundHelper::RoundDownTime(query.interval, bound);
  return query.file.FindArchive(bound.timestamp) == archive ? bound : sample;
}

std::optional<TimeWindow> AdjustWindow(const Query& query, bool isPartial, TimeWindow& window) {
  TimeWindow complete = window;
  Date::TimeRoundHelper::RoundUpTime(query.interval, complete.start);
  Date::TimeRoundHelper::RoundDownTime(query.interval, complete.end);
  const TimeWindow rest{complete.end, window.end};
  if (isPartial && complete.start.timestamp == complete.end.timestamp) {
    window = complete;
  } else {
    Require(TimeWindowHelper::AdjustTimeWindow(query.interval,
                                               TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, window),
            query.zeltId,
            std::string("no complete ") + QueryIntervalToString(query.interval) + " in " +
                TimeWindowToString(window));
  }
  const bool isCut = rest.start.timestamp < rest.end.timestamp;
  return isPartial && isCut ? std::optional(rest) : std::nullopt;
}

void TellArchive(const Query& query, const TimeWindow& window) {
  const Rrd::ArchiveDescription& archive = GetArchive(query, window);
  const unsigned long rowLength = GetRowLength(query.file, archive);
  const std::string rows = "rows of " + std::to_string(rowLength) + " s";
  if (!query.file.HasShapeOfCreate()) {
    const auto& archives = query.file.archives;
    const bool hasOlder = std::any_of(archives.begin(), archives.end(), [&](const auto& other) {
      return other.firstTime < archive.firstTime;
    });
    PrintMessage(query.zeltId + ": read from the archive " + archive.consolidation + " with " +
                 rows + ", " + FormatUtc(archive.firstTime) + " - " + FormatUtc(archive.lastTime) +
                 (hasOlder ? "; older data lies in others" : ""));
  }
  if (query.interval != QueryInterval::FullPeriod && GetIntervalLength(query, window) < rowLength) {
    PrintMessage(query.zeltId + ": " + rows + " are repeated, as " +
                 QueryIntervalToString(query.interval) + " is shorter");
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
