#include "points/span_rows.h"

#include <algorithm>
#include <cmath>

#include "base/command_error.h"
#include "base/round_up.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long STRIDE = 4096;  // rows

}  // namespace

SpanRows::SpanRows(const Question& question, const Source& askedSource,
                   std::optional<long long> confirmed)
    : source(askedSource) {
  parts.emplace_back(source, source.consolidation);
  const auto window = ResolveSpanWindow(question, source, parts, confirmed);
  if (!window) {
    return;
  }
  begin = window->start.timestamp - (question.from ? 1 : 0);
  begin = std::max({begin, confirmed.value_or(begin), parts.front().segments.front().begin});
  end = FindWholeEnd(std::min(window->end.timestamp, parts.front().segments.back().end));
  const auto isEarlier = [this](const Segment& segment) {
    const long long first = std::max(begin, segment.begin);
    return first < segment.end && RoundUp(first + 1, segment.chosen.rowLength) <= end;
  };
  const Segments& segments = parts.front().segments;
  isEmpty = std::none_of(segments.begin(), segments.end(), isEarlier);
}

// The end of the last row that ends in the window. A row that ends after the window ends the
// answer: finer rows within its time would leave a gap.
long long SpanRows::FindWholeEnd(long long windowEnd) const {
  long long reached = begin;
  for (const Segment& segment : parts.front().segments) {
    const long long length = segment.chosen.rowLength;
    if (segment.end > reached) {
      reached = std::max(reached, segment.begin);
      const long long last = RoundUp(segment.end, length);
      if (last > windowEnd) {
        return std::max(reached, windowEnd - windowEnd % length);
      }
      reached = last;
    }
  }
  return windowEnd;
}

std::optional<long long> SpanRows::FindBegin() const {
  const Segments& segments = parts.front().segments;
  return segments.empty() ? std::nullopt : std::optional(segments.front().begin);
}

void SpanRows::Tell() const {
  const std::string text = DescribeSegments(parts.front().segments, begin, end);
  if (!text.empty()) {
    PrintMessage(source.fileName + ": read from " + text);
  }
}

void SpanRows::Stream(const PieceConsumer& consume) {
  long long reached = begin;
  for (const Segment& segment : parts.front().segments) {
    const long long length = segment.chosen.rowLength;
    const long long last =
        std::min(RoundUp(segment.end, length), end - end % length);  // that may be asked for
    reached = std::max(reached, segment.begin);
    while (reached < segment.end && RoundUp(reached + 1, length) <= last) {
      const long long first = RoundUp(reached + 1, length);
      const long long count = std::min(STRIDE, (last - first) / length + 1);
      reached = first + (count - 1) * length;
      const double* const values =
          parts.front().rows.Read(segment.chosen, first, reached, segment.chosen.archive->lastTime);
      Piece piece(1);
      for (long long i = 0; i < count; ++i) {
        piece.AddTime(first + i * length);
        piece.AddValue({values[i], !std::isnan(values[i])});
      }
      source.context.rowTally.NoteSpans();
      source.context.rowTally.Add(segment.chosen.archive->consolidation, length, values, count);
      if (!consume(piece)) {
        return;
      }
    }
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
