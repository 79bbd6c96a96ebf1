#include "points/spans.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "base/round_up.h"
#include "base/time_text.h"
#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

template <typename Condition>
Pool Select(const Rrd::FileDescription& file, const Condition& condition) {
  Pool pool;
  for (const Rrd::ArchiveDescription& archive : file.archives) {
    if (condition(archive)) {
      pool.push_back(&archive);
    }
  }
  return pool;
}

Pool SelectByName(const Rrd::FileDescription& file, const std::string& consolidation) {
  return Select(file, [&](const auto& archive) { return archive.consolidation == consolidation; });
}

bool IsOfSteps(const Rrd::ArchiveDescription& archive) {
  const std::string& function = archive.consolidation;
  return archive.stepsPerRow == 1 && (function == "MIN" || function == "MAX");
}

// An archive that has a time, the one with the shortest rows first.
using Candidate = std::pair<long long, const Rrd::ArchiveDescription*>;

}  // namespace

bool HasLastValues(const Rrd::FileDescription& file) { return !SelectByName(file, "LAST").empty(); }

bool HasOnlyLastValues(const Rrd::FileDescription& file) {
  return SelectByName(file, "LAST").size() == file.archives.size();
}

bool HasSpans(const Rrd::FileDescription& file) {
  const auto has = [&file](const char* function) { return !SelectByName(file, function).empty(); };
  return has("AVERAGE") || (!has("LAST") && (has("MIN") || has("MAX")));
}

std::vector<std::string> ListConsolidations(const Rrd::FileDescription& file) {
  std::vector<std::string> found;
  for (const char* const function : {"AVERAGE", "MIN", "MAX", "LAST"}) {
    if (!SelectByName(file, function).empty()) {
      found.emplace_back(function);
    }
  }
  return found;
}

Pool FindPool(const Source& source, const std::string& consolidation) {
  for (const Pool& pool : {SelectByName(source.file, consolidation),
                           SelectByName(source.file, "AVERAGE"), Select(source.file, IsOfSteps)}) {
    if (!pool.empty()) {
      return pool;
    }
  }
  throw CommandError(source.name, "has no archive of " + consolidation +
                                      (consolidation == "AVERAGE" ? "" : " or AVERAGE") +
                                      ", and none of single steps");
}

Segments ChooseSegments(const Source& source, const Pool& pool) {
  struct Change {
    std::vector<Candidate> begins;
    std::vector<Candidate> ends;
  };
  std::map<long long, Change> changes;
  for (const Rrd::ArchiveDescription* const archive : pool) {
    const auto length = static_cast<long long>(GetRowLength(source.file, *archive));
    const long long begin = std::max(archive->firstTime - length, 0LL);
    if (begin < archive->lastTime) {
      changes[begin].begins.emplace_back(length, archive);
      changes[archive->lastTime].ends.emplace_back(length, archive);
    }
  }
  Segments segments;
  std::set<Candidate> present;
  long long since = 0;
  for (const auto& [time, change] : changes) {
    if (!present.empty()) {
      const auto& [length, archive] = *present.begin();
      const bool goesOn = !segments.empty() && segments.back().chosen.archive == archive &&
                          segments.back().end == since;
      if (goesOn) {
        segments.back().end = time;
      } else {
        segments.push_back({{archive, length, since}, since, time});
      }
    }
    for (const Candidate& candidate : change.ends) {
      present.erase(candidate);
    }
    present.insert(change.begins.begin(), change.begins.end());
    since = time;
  }
  return segments;
}

ChosenArchive ChooseFinest(const Source& source) {
  if (!source.hasSpans) {
    return ChooseArchive(source, source.file.lastUpdate);
  }
  const Pool pool = FindPool(source, ListConsolidations(source.file).front());
  const auto* const finest = *std::min_element(
      pool.begin(), pool.end(),
      [](const auto* one, const auto* other) { return one->stepsPerRow < other->stepsPerRow; });
  return {finest, static_cast<long long>(GetRowLength(source.file, *finest)), finest->firstTime};
}

std::optional<long long> FindFirstSpan(SpanArchives& archives, long long from, long long to) {
  constexpr long long STRIDE = 4096;  // rows
  for (const Segment& segment : archives.segments) {
    const long long length = segment.chosen.rowLength;
    const long long begin = std::max(segment.begin, from);
    const long long end = std::min(segment.end, to);
    const long long last = RoundUp(end, length);
    for (long long row = RoundUp(begin + 1, length); begin < end && row <= last;
         row += STRIDE * length) {
      const long long count = std::min(STRIDE, (last - row) / length + 1);
      const double* const values = archives.rows.Read(
          segment.chosen, row, row + (count - 1) * length, segment.chosen.archive->lastTime);
      const double* const found =
          std::find_if(values, values + count, [](double value) { return !std::isnan(value); });
      if (found != values + count) {
        return std::max(begin, row + (found - values - 1) * length);
      }
    }
  }
  return std::nullopt;
}

std::string DescribeSegments(const Segments& segments, long long from, long long to) {
  std::string text;
  for (const Segment& segment : segments) {
    const long long begin = std::max(segment.begin, from);
    const long long end = std::min(segment.end, to);
    if (begin < end) {
      text += (text.empty() ? "" : ", ") + segment.chosen.archive->consolidation +
              " with rows of " + std::to_string(segment.chosen.rowLength) + " s, " +
              FormatUtc(begin) + " - " + FormatUtc(end);
    }
  }
  return text;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
