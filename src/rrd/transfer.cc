#include "rrd/transfer.h"

#include <unistd.h>

#include <cstddef>

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

// `transfer` is pread or pwrite, which may do a part.
template <typename Transfer, typename Byte>
bool TransferAll(Transfer transfer, int fd, Byte* data, std::uint64_t size, std::uint64_t offset) {
  while (size > 0) {
    const ssize_t count =
        transfer(fd, data, static_cast<std::size_t>(size), static_cast<off_t>(offset));
    if (count <= 0) {
      return false;
    }
    data += count;
    size -= static_cast<std::uint64_t>(count);
    offset += static_cast<std::uint64_t>(count);
  }
  return true;
}

}  // namespace

bool ReadAll(int fd, char* data, std::uint64_t size, std::uint64_t offset) {
  return TransferAll(pread, fd, data, size, offset);
}

bool WriteAll(int fd, const char* data, std::uint64_t size, std::uint64_t offset) {
  return TransferAll(pwrite, fd, data, size, offset);
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
