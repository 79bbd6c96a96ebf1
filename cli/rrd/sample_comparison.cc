#include "rrd/sample_comparison.h"

#include <algorithm>
#include <cmath>

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

long long RoundUp(long long time, long long step) { return (time + step - 1) / step * step; }

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
  void Run() {
    constexpr long long PIECE_ROW_COUNT = 1 << 20;
    // The first rows of a longer step reach back to where the old file has no samples.
    const long long first =
        std::max(newRows.first, RoundUp(oldRows.first + newRows.step - oldRows.step, newRows.step));
    const long long last = std::min(newRows.last, oldRows.last / newRows.step * newRows.step);
    for (long long start = first; start <= last; start += PIECE_ROW_COUNT * newRows.step) {
      ComparePiece(start, std::min(last, start + (PIECE_ROW_COUNT - 1) * newRows.step));
    }
    RequireArgument(lostCount == 0, "the RRD library would lose " + std::to_string(lostCount) +
                                        " of the " + std::to_string(wantedCount) +
                                        " samples that the new file has place for; --force " +
                                        "accepts that");
  }

 private:
  void ComparePiece(long long start, long long end) {
    Rrd::FetchResult oldSamples;
    Rrd::FetchResult newSamples;
    const bool isRead =
        client.Fetch(oldPath, RoundUp(start, oldRows.step), RoundUp(end, oldRows.step),
                     oldSamples) == StatusCode::Success &&
        client.Fetch(newPath, start, end, newSamples) == StatusCode::Success;
    if (!isRead) {
      throw FileError("its samples cannot be compared", StatusCode::Failure);
    }
    for (long long time = start; time <= end; time += newRows.step) {
      const double wanted = Find(oldSamples, time);
      const double kept = Find(newSamples, time);
      if (!std::isnan(wanted)) {
        ++wantedCount;
        lostCount += wanted == kept ? 0 : 1;
      }
    }
  }

  // The sample of the row that a time lies in.
  static double Find(const Rrd::FetchResult& samples, long long time) {
    const auto step = static_cast<long long>(samples.GetStep());
    const long long position = (RoundUp(time, step) - samples.GetStartTime()) / step;
    const bool isInside = 0 <= position && position < samples.GetSampleCount();
    return isInside ? samples.GetData()[position] : std::nan("");
  }

  const PatientClient& client;
  const std::string& oldPath;
  const std::string& newPath;
  Rows oldRows;
  Rows newRows;
  unsigned long long wantedCount = 0;
  unsigned long long lostCount = 0;
};

}  // namespace

void RequireSamplesKept(const PatientClient& client, const std::string& oldPath,
                        const std::string& newPath) {
  Comparison(client, oldPath, newPath).Run();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
