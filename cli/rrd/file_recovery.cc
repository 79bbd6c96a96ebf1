#include "rrd/file_recovery.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char NO_ROOM[] = "its copy cannot be made larger";

off_t GetSize(int fd) {
  struct stat status {};
  RequireCall(fstat(fd, &status) == 0, "its size cannot be read");
  return status.st_size;
}

// Whether the library would accept the file if it had this size.
bool IsWhole(const PatientClient& client, int fd, const std::string& path, off_t size,
             Rrd::FileDescription& file) {
  RequireCall(ftruncate(fd, size) == 0, NO_ROOM);
  return client.Describe(path, file) == StatusCode::Success;
}

// The size of the whole file is the least that the library accepts. The file gets a hole of what is
// missing.
off_t FindWholeSize(const PatientClient& client, int fd, const std::string& path, off_t size,
                    Rrd::FileDescription& file) {
  constexpr off_t LARGEST = off_t{1} << (sizeof(long) == 4 ? 30 : 40);
  off_t low = size;
  off_t high = size;
  while (!IsWhole(client, fd, path, high, file)) {
    RequireArgument(high < LARGEST, std::string("it cannot be repaired: ") + Failure::GetReason());
    low = high;
    high = 2 * high + 1;
  }
  while (low + 1 < high) {
    const off_t middle = low + (high - low) / 2;
    (IsWhole(client, fd, path, middle, file) ? high : low) = middle;
  }
  const bool isWhole = IsWhole(client, fd, path, high, file);
  RequireArgument(isWhole, Failure::GetReason());
  return high;
}

void WriteMissing(int fd, off_t start, off_t end) {
  constexpr std::size_t PIECE = 8192;
  const std::vector<double> missing(PIECE, std::numeric_limits<double>::quiet_NaN());
  while (start < end) {
    const auto size =
        static_cast<std::size_t>(std::min<off_t>(end - start, PIECE * sizeof(double)));
    const ssize_t count = pwrite(fd, missing.data(), size, start);
    RequireCall(count > 0, NO_ROOM);
    start += count;
  }
}

}  // namespace

std::vector<LostRows> RestoreEnd(const PatientClient& client, int fd, const std::string& path) {
  const off_t size = GetSize(fd);
  Rrd::FileDescription file;
  const off_t wholeSize = FindWholeSize(client, fd, path, size, file);
  const auto rowSize = static_cast<off_t>(file.dataSources.size() * sizeof(double));
  off_t start = wholeSize;
  for (const Rrd::ArchiveDescription& archive : file.archives) {
    start -= static_cast<off_t>(archive.rowCount) * rowSize;
  }
  RequireArgument(size >= start, "it cannot be repaired: its header is cut off");
  WriteMissing(fd, start + (size - start) / rowSize * rowSize, wholeSize);
  std::vector<LostRows> losses;
  for (const Rrd::ArchiveDescription& archive : file.archives) {
    const off_t left =
        std::clamp<off_t>((size - start) / rowSize, 0, static_cast<off_t>(archive.rowCount));
    losses.push_back({archive.consolidation, archive.stepsPerRow, archive.rowCount,
                      archive.rowCount - static_cast<unsigned long>(left)});
    start += static_cast<off_t>(archive.rowCount) * rowSize;
  }
  return losses;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
