#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

#include "tools/writeback.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Writes a file in sequence, in pieces. The descriptor stays the caller's. A failure sets errno.
class FileWriter {
 public:
  static constexpr std::size_t PIECE_SIZE = 65536;

  explicit FileWriter(int fd) : fd(fd) { piece.reserve(PIECE_SIZE); }

  // Takes a few bytes, which may be written later.
  bool Append(const unsigned char* bytes, std::size_t size) {
    if (piece.size() + size > PIECE_SIZE && !Flush()) {
      return false;
    }
    piece.insert(piece.end(), bytes, bytes + size);
    return true;
  }

  // Writes all bytes that wait.
  bool Flush() {
    const bool isDone = Write(piece.data(), piece.size());
    piece.clear();
    return isDone;
  }

  // Writes bytes at once. No others may be waiting.
  bool Write(const unsigned char* bytes, std::size_t size) {
    while (size != 0) {
      const ssize_t count = write(fd, bytes, size);
      if (count < 0 && errno != EINTR) {
        return false;
      }
      const std::size_t done = count < 0 ? 0 : static_cast<std::size_t>(count);
      bytes += done;
      size -= done;
      writeback.Add(fd, done);
    }
    return true;
  }

 private:
  int fd;
  Writeback writeback;
  std::vector<unsigned char> piece;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
