#include "points/span_reader.h"

#include <algorithm>
#include <limits>

#include "base/command_error.h"
#include "base/round_up.h"
#include "points/span_window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t PIECE_LENGTH = 4096;

struct SpanFunction {
  const char* name;
  const char* consolidation;  // of the archives that answer, where the file has them
  double (*compute)(const SpanSum& sum, long long step);
};

constexpr SpanFunction FUNCTIONS[] = {
    {"average", "AVERAGE",
     [](const SpanSum& sum, long long) {
       const auto seconds = static_cast<long double>(sum.GetKnownSeconds());
       return sum.IsEmpty() ? MISSING : static_cast<double>(sum.GetIntegral() / seconds);
     }},
    {"minimum", "MIN",
     [](const SpanSum& sum, long long) { return sum.IsEmpty() ? MISSING : sum.GetLeast(); }},
    {"maximum", "MAX",
     [](const SpanSum& sum, long long) { return sum.IsEmpty() ? MISSING : sum.GetGreatest(); }},
    {"sum", "AVERAGE",
     [](const SpanSum& sum, long long step) {
       const auto seconds = static_cast<long double>(step);
       return sum.IsEmpty() ? MISSING : static_cast<double>(sum.GetIntegral() / seconds);
     }},
    {"count", "AVERAGE",
     [](const SpanSum& sum, long long step) {
       return static_cast<double>(sum.GetKnownSeconds()) / static_cast<double>(step);
     }},
    {"integral", "AVERAGE",
     [](const SpanSum& sum, long long) {
       return sum.IsEmpty() ? MISSING : static_cast<double>(sum.GetIntegral());
     }},
};

// Null for a name that spans have no function of.
const SpanFunction* FindSpanFunction(const std::string& name) {
  const auto* const found =
      std::find_if(std::begin(FUNCTIONS), std::end(FUNCTIONS),
                   [&name](const SpanFunction& known) { return known.name == name; });
  return found == std::end(FUNCTIONS) ? nullptr : found;
}

[[noreturn]] void RefuseFunction(const std::string& name, const Source& source) {
  const bool isOfCounter = name == "increase" || name == "delta";
  throw CommandError(
      source.name,
      name + " is of samples, but its file has averages of rows; " +
          (isOfCounter ? "the integral is what a counter grew by"
                       : "there are average, minimum, maximum, sum, count and integral of them"));
}

// Adds rows, of which the first ends at `time`, to the sums of the intervals that they lie in.
void AddRows(const Segment& segment, const double* values, long long time, long long count,
             const std::vector<long long>& bounds, std::vector<SpanSum>& sums) {
  const long long length = segment.chosen.rowLength;
  const long long first = std::max({time - length, segment.begin, bounds.front()});
  auto i = static_cast<std::size_t>(std::upper_bound(bounds.begin(), bounds.end(), first) -
                                    bounds.begin()) -
           1;
  for (long long row = 0; row < count; ++row, time += length) {
    const long long end = std::min({time, segment.end, bounds.back()});
    long long begin = std::max({time - length, segment.begin, bounds.front()});
    while (begin < end) {
      const long long until = std::min(end, bounds[i + 1]);
      const bool isStraddling = time - length < bounds[i] || time > bounds[i + 1];
      sums[i].Add(values[row], until - begin, isStraddling ? length : 0);
      i += until == bounds[i + 1] ? 1 : 0;
      begin = until;
    }
  }
}

// The rows of the archives that lie in intervals, added up for each of them.
std::vector<SpanSum> AddUp(SpanArchives& part, const std::vector<long long>& bounds) {
  std::vector<SpanSum> sums(bounds.size() - 1);
  for (const Segment& segment : part.segments) {
    const long long length = segment.chosen.rowLength;
    const long long begin = std::max(segment.begin, bounds.front());
    const long long end = std::min(segment.end, bounds.back());
    if (begin >= end) {
      continue;
    }
    const long long last = RoundUp(end, length);
    for (long long row = RoundUp(begin + 1, length); row <= last;
         row += RowReader::ROW_COUNT * length) {
      const long long count = std::min(RowReader::ROW_COUNT, (last - row) / length + 1);
      const double* const values = part.rows.Read(segment.chosen, row, row + (count - 1) * length,
                                                  segment.chosen.archive->lastTime);
      AddRows(segment, values, row, count, bounds, sums);
    }
  }
  return sums;
}

}  // namespace

bool IsSpanFunction(const std::string& name) { return FindSpanFunction(name) != nullptr; }

SpanReader::SpanReader(const Question& askedQuestion, const Source& askedSource,
                       std::optional<long long> confirmed)
    : question(askedQuestion), source(askedSource) {
  for (const auto& function : question.functions) {
    AddColumn(function.first);
  }
  const auto found = ResolveSpanWindow(question, source, parts, confirmed);
  if (!found) {
    throw CommandError(source.name, "no row of it has a value", StatusCode::NotFound);
  }
  window = *found;
  if (!confirmed) {
    RequireForward(question, source, window);
  }
  PrepareIntervals(confirmed);
}

void SpanReader::AddColumn(const std::string& function) {
  const SpanFunction* const found = FindSpanFunction(function);
  if (found == nullptr) {
    RefuseFunction(function, source);
  }
  columns.push_back({found->compute, FindPart(found->consolidation)});
}

std::size_t SpanReader::FindPart(const std::string& consolidation) {
  const auto found = std::find_if(parts.begin(), parts.end(), [&](const SpanArchives& part) {
    return part.consolidation == consolidation;
  });
  if (found != parts.end()) {
    return static_cast<std::size_t>(found - parts.begin());
  }
  parts.emplace_back(source, consolidation);
  return parts.size() - 1;
}

void SpanReader::PrepareIntervals(std::optional<long long> confirmed) {
  const bool isWhole = question.interval->IsWhole();
  const bool isOnBound = !question.from && !confirmed && !isWhole && !question.isUnadjusted;
  if (isOnBound) {
    window.start = question.interval->RoundDown(window.start);
  }
  intervals.complete = window;
  const std::optional<Intervals> found =
      isWhole ? std::optional(intervals) : FindIntervals(question, window);
  if (!found && !confirmed) {
    RefuseIncomplete(question, source, window);
  }
  isEmpty = !found;
  if (isEmpty) {
    return;
  }
  intervals = *found;
  TimeWindow& complete = intervals.complete;
  if (complete.start.timestamp == complete.end.timestamp) {
    return;
  }
  if (confirmed) {
    SkipConfirmed(question, *confirmed, window, complete);
    isEmpty = complete.start.timestamp >= complete.end.timestamp;
  }
  if (!isEmpty && !isWhole) {
    RequireFewPoints(question, source, parts.front().segments.front().begin, source.file.lastUpdate,
                     complete);
    RequireEndOnBound(question, source, complete);
  }
}

std::optional<long long> SpanReader::FindBegin() const {
  std::optional<long long> begin;
  for (const SpanArchives& part : parts) {
    begin = std::max(begin, std::optional(part.segments.front().begin));
  }
  return begin;
}

void SpanReader::Tell() const {
  std::string text;
  const long long end =
      intervals.cut ? intervals.cut->end.timestamp : intervals.complete.end.timestamp;
  for (const SpanArchives& part : parts) {
    const std::string own =
        DescribeSegments(part.segments, intervals.complete.start.timestamp, end);
    if (text.find(own) == std::string::npos) {  // archives may answer for several functions
      text += (text.empty() ? "" : ", ") + own;
    }
  }
  if (!text.empty() && !isEmpty) {
    PrintMessage(source.fileName + ": read from " + text);
  }
}

void SpanReader::Stream(const PieceConsumer& consume) {
  Date::Date start = intervals.complete.start;
  while (start.timestamp < intervals.complete.end.timestamp) {
    if (!consume(Compute(ListBounds(start)))) {
      return;
    }
  }
  if (intervals.cut) {
    Piece cut = Compute({intervals.cut->start.timestamp, intervals.cut->end.timestamp});
    cut.SetAllBad();
    consume(cut);
  }
}

std::vector<long long> SpanReader::ListBounds(Date::Date& start) const {
  const Date::Date& end = intervals.complete.end;
  std::vector<long long> bounds = {start.timestamp};
  while (start.timestamp < end.timestamp && bounds.size() <= PIECE_LENGTH) {
    start = question.interval->IsWhole() ? end : question.interval->ComputeNext(start);
    bounds.push_back(start.timestamp);
  }
  return bounds;
}

Piece SpanReader::Compute(const std::vector<long long>& bounds) {
  std::vector<std::vector<SpanSum>> sums;
  for (SpanArchives& part : parts) {
    sums.push_back(AddUp(part, bounds));
  }
  const auto step = static_cast<long long>(source.file.step);
  Piece piece(columns.size());
  for (std::size_t i = 0; i + 1 < bounds.size(); ++i) {
    piece.AddTime(bounds[i]);
    for (const Column& column : columns) {
      const SpanSum& sum = sums[column.part][i];
      piece.AddValue({column.compute(sum, step), sum.IsGood(bounds[i + 1] - bounds[i])});
    }
  }
  return piece;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
