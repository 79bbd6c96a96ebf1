#include "push/gzip.h"

#include <zlib.h>

#include <new>

namespace nvx::TimeSeriesDatabase::CommandLine {

std::string Gzip(std::string_view text) {
  constexpr int GZIP_WINDOW = 15 + 16;  // the largest window, in the form of gzip
  constexpr int MEMORY_LEVEL = 8;
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, GZIP_WINDOW, MEMORY_LEVEL,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();
  }
  std::string compressed(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  // zlib reads its input through a pointer that is not const.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_out = static_cast<uInt>(compressed.size());
  deflate(&stream, Z_FINISH);
  compressed.resize(stream.total_out);
  deflateEnd(&stream);
  return compressed;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
