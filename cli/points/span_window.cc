#include "points/span_window.h"

#include <algorithm>
#include <limits>

#include "points/window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// From where to where there are rows.
struct Reach {
  long long oldest = std::numeric_limits<long long>::max();
  long long newest = 0;  // of any part
  long long newestOfAll = std::numeric_limits<long long>::max();
};

std::optional<Reach> FindReach(const std::deque<SpanArchives>& parts) {
  Reach reach;
  for (const SpanArchives& part : parts) {
    if (part.segments.empty()) {
      return std::nullopt;
    }
    reach.oldest = std::min(reach.oldest, part.segments.front().begin);
    reach.newest = std::max(reach.newest, part.segments.back().end);
    reach.newestOfAll = std::min(reach.newestOfAll, part.segments.back().end);
  }
  return reach;
}

// The time at which the first row of any part begins that is not missing.
std::optional<long long> FindFirst(std::deque<SpanArchives>& parts, long long end) {
  std::optional<long long> first;
  for (SpanArchives& part : parts) {
    const auto own = FindFirstSpan(part, part.segments.front().begin, first.value_or(end));
    first = own ? own : first;
  }
  return first;
}

}  // namespace

std::optional<TimeWindow> ResolveSpanWindow(const Question& question, const Source& source,
                                            std::deque<SpanArchives>& parts,
                                            std::optional<long long> confirmed) {
  const std::optional<Reach> reach = FindReach(parts);
  if (!reach) {
    return std::nullopt;
  }
  FileTimes times{[&] { return FindFirst(parts, reach->newest).value_or(reach->newest); },
                  [&] { return source.file.lastUpdate; }};
  const long long newest = question.isResumable ? reach->newestOfAll : reach->newest;
  TimeWindow window = MakeWindow(question, 0, newest);
  if (question.to) {
    const long long end = question.to->Resolve(times);
    window.end.timestamp = question.isResumable ? std::min(end, newest) : end;
  }
  if (question.from) {
    times.windowEnd = window.end.timestamp;
    window.start.timestamp = question.from->Resolve(times);
  } else if (confirmed) {
    window.start.timestamp = std::max(*confirmed, reach->oldest);
  } else if (const std::optional<long long> first = FindFirst(parts, window.end.timestamp)) {
    window.start.timestamp = *first;
  } else {
    return std::nullopt;
  }
  return window;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
