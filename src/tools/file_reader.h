#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Reads a file from an offset on, in pieces. The descriptor stays the caller's, with its own offset
// unchanged.
class FileReader {
 public:
  static constexpr std::size_t PIECE_SIZE = 65536;

  FileReader(int fd, std::uint64_t offset, std::size_t pieceSize = PIECE_SIZE)
      : fd(fd), end(offset), pieceSize(pieceSize) {}

  // Of the next byte.
  std::uint64_t GetOffset() const { return end - (filled - used); }

  // The next `size` bytes, at most a piece, valid until the next call; null where the file has
  // fewer or cannot be read.
  unsigned char* Read(std::size_t size) {
    if (filled - used < size) {
      Fill();
    }
    if (filled - used < size) {
      return nullptr;
    }
    unsigned char* const bytes = piece.data() + used;
    used += size;
    return bytes;
  }

 private:
  void Fill() {
    piece.resize(pieceSize);
    std::copy(piece.begin() + static_cast<std::ptrdiff_t>(used),
              piece.begin() + static_cast<std::ptrdiff_t>(filled), piece.begin());
    filled -= used;
    used = 0;
    while (filled < pieceSize) {
      const ssize_t count =
          pread64(fd, piece.data() + filled, pieceSize - filled, static_cast<off64_t>(end));
      if (count <= 0) {
        return;
      }
      filled += static_cast<std::size_t>(count);
      end += static_cast<std::uint64_t>(count);
    }
  }

  int fd;
  std::uint64_t end;  // of what was read
  std::size_t pieceSize;
  std::vector<unsigned char> piece;
  std::size_t used = 0;
  std::size_t filled = 0;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
