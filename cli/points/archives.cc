#include "points/archives.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/command_error.h"
#include "base/time_text.h"
#include "base/words.h"
#include "rrd/described_file.h"
#include "timeseries/rrd/constants.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long BEFORE_ALL = std::numeric_limits<long long>::min();

long long GetRowLengthOf(const Source& source, const Rrd::ArchiveDescription& archive) {
  return static_cast<long long>(GetRowLength(source.file, archive));
}

std::string Describe(const ChosenArchive& chosen) {
  return chosen.archive->consolidation + " with rows of " + std::to_string(chosen.rowLength) + " s";
}

// The finest archive of last values that reaches back to `start`, or else the finest of those that
// reach back furthest: as FileDescription::FindArchive, which takes others for one of them.
const Rrd::ArchiveDescription& RequireSampleArchive(const Source& source, long long start) {
  const Rrd::FileDescription& file = source.file;
  // All archives that reach back to the start count as equal here.
  const auto getRank = [&](const Rrd::ArchiveDescription& archive) {
    const long long begin = archive.firstTime - GetRowLengthOf(source, archive);
    return std::pair(begin < start ? BEFORE_ALL : begin, archive.stepsPerRow);
  };
  const Rrd::ArchiveDescription* best = nullptr;
  for (const Rrd::ArchiveDescription& archive : file.archives) {
    const bool hasSamples = archive.consolidation == Rrd::LAST_KEYWORD;
    if (hasSamples && (best == nullptr || getRank(archive) < getRank(*best))) {
      best = &archive;
    }
  }
  if (best == nullptr) {
    throw CommandError(source.name,
                       "only archives of LAST, AVERAGE, MIN and MAX are read; its file has " +
                           JoinNames(file.archives, [&](const auto& other) {
                             return other.consolidation + " with rows of " +
                                    std::to_string(GetRowLength(file, other)) + " s";
                           }));
  }
  return *best;
}

// What the other archives have that the one that answers has not.
std::string DescribeOthers(const Source& source, const ChosenArchive& chosen) {
  const auto& archives = source.file.archives;
  const bool hasOlder = std::any_of(archives.begin(), archives.end(), [&](const auto& other) {
    return other.firstTime < chosen.archive->firstTime;
  });
  const ChosenArchive finest = ChooseArchive(source, source.file.lastUpdate);
  std::string text = hasOlder ? "; older data lies in others" : "";
  if (finest.rowLength < chosen.rowLength) {
    text += "; rows of " + std::to_string(finest.rowLength) + " s begin at " +
            FormatUtc(finest.archive->firstTime);
  }
  return text;
}

}  // namespace

ChosenArchive ChooseArchive(const Source& source, long long start) {
  const Rrd::ArchiveDescription& archive = RequireSampleArchive(source, start);
  return {&archive, GetRowLengthOf(source, archive), start};
}

std::vector<ChosenArchive> ChooseArchives(const Source& source, long long first, long long last) {
  std::vector<long long> changes = {first};
  for (const Rrd::ArchiveDescription& archive : source.file.archives) {
    if (archive.firstTime > first && archive.firstTime <= last) {
      changes.push_back(archive.firstTime);
    }
  }
  std::sort(changes.begin(), changes.end());
  std::vector<ChosenArchive> chosen;
  for (const long long change : changes) {
    const ChosenArchive next = ChooseArchive(source, change);
    if (chosen.empty() || next.archive != chosen.back().archive) {
      chosen.push_back(next);
    }
  }
  return chosen;
}

long long GetOldestRow(const Source& source) {
  return ChooseArchive(source, BEFORE_ALL).archive->firstTime;
}

bool HasSingleArchive(const Source& source) {
  return ChooseArchives(source, BEFORE_ALL, source.file.lastUpdate).size() == 1;
}

void TellArchives(const Source& source, const std::vector<ChosenArchive>& chosen) {
  if (source.file.HasShapeOfCreate() || chosen.empty()) {
    return;
  }
  std::string text;
  if (chosen.size() == 1) {
    const Rrd::ArchiveDescription& archive = *chosen.front().archive;
    text = "the archive " + Describe(chosen.front()) + ", " + FormatUtc(archive.firstTime) + " - " +
           FormatUtc(archive.lastTime) + DescribeOthers(source, chosen.front());
  } else {
    text = std::to_string(chosen.size()) + " archives";
    for (const ChosenArchive& one : chosen) {
      text += (&one == &chosen.front() ? ": " : ", ") + Describe(one) + " from " +
              FormatUtc(std::max(one.begin, one.archive->firstTime));
    }
  }
  PrintMessage(source.fileName + ": read from " + text);
}

void TellRepeatedRows(const Source& source, const ChosenArchive& chosen,
                      const std::string& intervalName, long long intervalLength) {
  if (intervalLength < chosen.rowLength) {
    PrintMessage(source.fileName + ": rows of " + std::to_string(chosen.rowLength) +
                 " s are repeated, as " + intervalName + " is shorter");
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
