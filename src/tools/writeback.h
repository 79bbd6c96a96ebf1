#pragma once

#include <fcntl.h>

#include <cstddef>

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Makes the system write a file to the disk while it grows, so that the sync at the end has little
// left to do. Nothing depends on its success.
class Writeback {
 public:
  // Call it after every piece that was written.
  void Add(int fd, std::size_t size) {
    waiting += size;
    if (waiting >= PIECE_SIZE) {
      sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);  // starts and does not wait
      waiting = 0;
    }
  }

 private:
  static constexpr std::size_t PIECE_SIZE = std::size_t{2} << 20;

  std::size_t waiting = 0;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
