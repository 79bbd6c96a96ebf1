#include "points/point_stream.h"

#include <algorithm>
#include <cmath>

#include "base/command_error.h"
#include "base/time_text.h"
#include "points/answer.h"
#include "rrd/described_file.h"
#include "timeseries/date/time_round_helper.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long PIECE_ROW_COUNT = 1 << 16;
constexpr int PIECE_POINT_COUNT = 1 << 16;

long long GetRowLengthAt(const Query& query, long long time) {
  return static_cast<long long>(
      GetRowLength(query.file, RequireArchive(query.file, time, query.zeltId)));
}

// The last time that the archive which answers at `start` answers for, in rows of a piece.
long long FindPieceEnd(const Query& query, long long start, long long last) {
  long long end = std::min(last, start + (PIECE_ROW_COUNT - 1) * GetRowLengthAt(query, start));
  for (const Rrd::ArchiveDescription& archive : query.file.archives) {
    if (archive.firstTime > start) {
      end = std::min(end, archive.firstTime - 1);
    }
  }
  return end;
}

Piece FetchSamples(const Query& query, long long start, long long end) {
  Rrd::FetchResult result;
  Require(query.client.Fetch(query.path, start, end, result), query.zeltId,
          "no samples from " + FormatUtc(start) + " to " + FormatUtc(end));
  Piece piece;
  piece.reserve(result.GetSampleCount());
  long long time = result.GetStartTime();
  // A fetch goes on to the row after an end between two rows.
  for (unsigned int i = 0; i < result.GetSampleCount() && time <= end; ++i) {
    const double value = result.GetData()[i];
    piece.push_back({time, value, !std::isnan(value)});
    time += static_cast<long long>(result.GetStep());
  }
  return piece;
}

bool IsOnRow(const Query& query, const Date::Date& bound) {
  return bound.timestamp % GetRowLengthAt(query, bound.timestamp) == 0;
}

// The end of a piece of intervals, which is a bound that lies to the rows as the start does: by
// that the library judges all points of a piece.
Date::Date FindPieceEnd(const Query& query, const Date::Date& start, const Date::Date& end) {
  const long long pieceLength = PIECE_ROW_COUNT * GetRowLengthAt(query, start.timestamp);
  Date::Date bound = start;
  int pointCount = 0;
  const auto isShort = [&] {
    return bound.timestamp - start.timestamp < pieceLength && pointCount < PIECE_POINT_COUNT;
  };
  do {
    Date::Date next;
    TimeHelper::ComputeNextDate(query.interval, bound, next);
    bound = next;
    ++pointCount;
  } while (bound.timestamp < end.timestamp &&
           (isShort() || IsOnRow(query, bound) != IsOnRow(query, start)));
  return bound.timestamp < end.timestamp ? bound : end;
}

}  // namespace

long long GetOldestRow(const Query& query) {
  long long oldest = query.file.lastUpdate;
  for (const Rrd::ArchiveDescription& archive : query.file.archives) {
    oldest = std::min(oldest, archive.firstTime);
  }
  return oldest;
}

void StreamSamples(const Query& query, long long first, long long last,
                   const PieceConsumer& consume) {
  last = std::min(last, query.file.lastUpdate);
  long long start = std::max({first, GetOldestRow(query), EARLIEST_SAMPLE});
  while (start <= last) {
    const long long end = FindPieceEnd(query, start, last);
    if (!consume(FetchSamples(query, start, end))) {
      return;
    }
    start = end + 1;
  }
}

std::optional<long long> FindFirstSample(const Query& query, long long first, long long last) {
  std::optional<long long> time;
  StreamSamples(query, first, last, [&time](const Piece& piece) {
    const auto found =
        std::find_if(piece.begin(), piece.end(), [](const auto& sample) { return sample.isGood; });
    if (found != piece.end()) {
      time = found->timestamp;
    }
    return !time;
  });
  return time;
}

Date::Date FindStartOnRow(const Query& query, const Date::Date& start) {
  // A row of a day lies on one of as many minutes.
  constexpr int LONGEST_SEARCH = 24 * 60;
  Date::Date bound = start;
  for (int i = 0; i < LONGEST_SEARCH && bound.timestamp > 0; ++i) {
    const bool isSameArchive =
        query.file.FindArchive(bound.timestamp) == query.file.FindArchive(start.timestamp);
    if (isSameArchive && IsOnRow(query, bound)) {
      return bound;
    }
    --bound.timestamp;
    Date::TimeRoundHelper::RoundDownTime(query.interval, bound);
  }
  return start;
}

bool StreamIntervals(const Query& query, const PointFunction& function, const TimeWindow& window,
                     const PieceConsumer& consume) {
  bool isWithStart = true;
  TimeWindow piece = window;
  while (piece.start.timestamp < window.end.timestamp) {
    piece.end = FindPieceEnd(query, piece.start, window.end);
    Points points;
    isWithStart &= FetchIntervals(query, function, piece, points);
    Piece streamed;
    streamed.reserve(points.size());
    for (const NumericalDataPoint& point : points) {
      streamed.push_back({point.date.timestamp, point.value, point.quality});
    }
    if (!consume(streamed)) {
      break;
    }
    piece.start = piece.end;
  }
  return isWithStart;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
