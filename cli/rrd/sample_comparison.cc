#include "rrd/sample_comparison.h"

#include <algorithm>
#include <cmath>

#include "base/round_up.h"
#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The rows of one archive, `step` seconds apart.
struct Rows {
  long long step = 0;
  long long first = 0;
  long long last = 0;
};

Rows GetRows(const PatientClient& client, const std::string& path) {
  Rrd::FileDescription description;
  if (client.Describe(path, description) != StatusCode::Success || description.archives.empty()) {
    throw FileError("its samples cannot be compared", StatusCode::Failure);
  }
  const Rrd::ArchiveDescription& archive = description.archives.front();
  return {static_cast<long long>(description.step), archive.firstTime, archive.lastTime};
}

class Comparison {
 public:
  Comparison(const PatientClient& rrdClient, const std::string& oldFilePath,
             const std::string& newFilePath)
      : client(rrdClient),
        oldPath(oldFilePath),
        newPath(newFilePath),
        oldRows(GetRows(client, oldPath)),
        newRows(GetRows(client, newPath)) {}

  // In pieces, so that the memory does not grow with the files.
  ComparedSamples Run() {
    constexpr long long PIECE_ROW_COUNT = 1 << 20;
    for (long long start = oldRows.first; start <= oldRows.last;
         start += PIECE_ROW_COUNT * oldRows.step) {
      ComparePiece(start, std::min(oldRows.last, start + (PIECE_ROW_COUNT - 1) * oldRows.step));
    }
    return compared;
  }

 private:
  void ComparePiece(long long start, long long end) {
    Rrd::FetchResult oldSamples;
    Rrd::FetchResult newSamples;
    const long long newStart = std::max(newRows.first, RoundUp(start, newRows.step));
    const long long newEnd = std::min(newRows.last, end / newRows.step * newRows.step);
    Fetch(oldPath, start, end, oldSamples);
    if (newStart <= newEnd) {
      Fetch(newPath, newStart, newEnd, newSamples);
    }
    for (long long time = start; time <= end; time += oldRows.step) {
      const double sample = oldSamples.GetData()[(time - oldSamples.GetStartTime()) / oldRows.step];
      if (std::isnan(sample)) {
        continue;
      }
      const bool hasRow =
          newStart <= time && time <= newEnd && (time - newStart) % newRows.step == 0;
      const bool isKept =
          hasRow &&
          newSamples.GetData()[(time - newSamples.GetStartTime()) / newRows.step] == sample;
      ++(isKept ? compared.keptCount : compared.lostCount);
    }
  }

  void Fetch(const std::string& path, long long start, long long end,
             Rrd::FetchResult& samples) const {
    if (client.Fetch(path, start, end, samples) != StatusCode::Success) {
      throw FileError("its samples cannot be compared", StatusCode::Failure);
    }
  }

  const PatientClient& client;
  const std::string& oldPath;
  const std::string& newPath;
  Rows oldRows;
  Rows newRows;
  ComparedSamples compared;
};

}  // namespace

ComparedSamples CompareSamples(const PatientClient& client, const std::string& oldPath,
                               const std::string& newPath) {
  return Comparison(client, oldPath, newPath).Run();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
