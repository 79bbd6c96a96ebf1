#include "rrd/archive_rows.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "rrd/transfer.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

// Values that are read at once, of all data sources.
constexpr std::size_t BLOCK_SIZE = 1 << 13;

// The row of a time, or the next one.
long long RoundUpToRow(long long time, long long length) {
  const long long rest = ((time % length) + length) % length;
  return rest == 0 ? time : time + length - rest;
}

}  // namespace

const char* ArchiveRows::Read(int fd, const FileGate& gate, unsigned long archive,
                              unsigned long source, long long start, long long end) {
  FileGate::Rows rows{};
  const char* const fault = gate.FindRows(archive, source, rows);
  return fault == nullptr ? ReadFound(fd, rows, start, end) : fault;
}

const char* ArchiveRows::ReadFound(int fd, const FileGate::Rows& rows, long long start,
                                   long long end) {
  if (start < -FARTHEST_TIME || start > end || end > FARTHEST_TIME) {
    return "time window out of range";
  }
  length = rows.length;
  first = RoundUpToRow(start, length);
  last = RoundUpToRow(end, length);
  const auto count = static_cast<std::uint64_t>((last - first) / length) + 1;
  if (count > std::max<std::uint64_t>(rows.archive->rowCount, LARGEST_FETCH)) {
    return "the window is too long";
  }
  // A GiB at most, or the rows of a file, which the gate lets be no larger than a long can count.
  values.reset(static_cast<double*>(std::malloc(static_cast<std::size_t>(count) * sizeof(double))));
  if (values == nullptr) {
    return "out of memory";
  }
  std::fill_n(values.get(), count, std::numeric_limits<double>::quiet_NaN());
  const long long from = std::max(first, rows.archive->firstTime);
  const long long to = std::min(last, rows.archive->lastTime);
  if (from > to) {
    return nullptr;
  }
  const auto index = static_cast<std::size_t>((from - rows.archive->firstTime) / length);
  const auto wanted = static_cast<std::size_t>((to - from) / length) + 1;
  const std::size_t rowCount = rows.archive->rowCount;
  const auto row = static_cast<std::size_t>((rows.oldest + index) % rowCount);
  const std::size_t beforeEnd = std::min(wanted, rowCount - row);
  double* const target = values.get() + (from - first) / length;
  errno = 0;
  const bool isRead = ReadRun(fd, rows, row, beforeEnd, target) &&
                      ReadRun(fd, rows, 0, wanted - beforeEnd, target + beforeEnd);
  // unreached: a file that is cut off between the gate and here
  return isRead ? nullptr : errno == 0 ? CUT_OFF_FAULT : "its rows cannot be read";
}

// Rows as they lie in the file, one behind the other.
bool ArchiveRows::ReadRun(int fd, const FileGate::Rows& rows, std::size_t row, std::size_t count,
                          double* target) {
  const std::size_t columns = rows.sourceCount;
  const std::size_t most = std::max<std::size_t>(1, BLOCK_SIZE / columns);
  std::vector<double> block;
  while (count > 0) {
    const std::size_t taken = std::min(count, most);
    // The last row ends with the wanted value, so that nothing is read after the end of the file.
    block.resize((taken - 1) * columns + 1);
    if (!ReadAll(fd, reinterpret_cast<char*>(block.data()), block.size() * sizeof(double),
                 rows.position + std::uint64_t{row} * columns * sizeof(double))) {
      return false;
    }
    for (std::size_t i = 0; i < taken; ++i) {
      *target++ = block[i * columns];
    }
    row += taken;
    count -= taken;
  }
  return true;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
