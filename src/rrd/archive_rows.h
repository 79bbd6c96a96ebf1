#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

#include "rrd/file_gate.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Rows of one data source in one archive. They are read from the file itself: the RRD library would
// choose an archive by the window, and deliver all data sources.
class ArchiveRows {
 public:
  // Reads the rows from `start` to `end`, both included, of a file whose lock is held since the
  // gate looked at it. Returns why it cannot; null when it has.
  const char* Read(int fd, const FileGate& gate, unsigned long archive, unsigned long source,
                   long long start, long long end);

  // The times of the first and the last row, and the seconds from one to the next.
  long long GetFirst() const { return first; }
  long long GetLast() const { return last; }
  long long GetLength() const { return length; }

  // The buffer, made with malloc, NaN where the archive has no row.
  double* Release() { return values.release(); }

 private:
  struct Free {
    void operator()(double* buffer) const { std::free(buffer); }
  };

  const char* ReadFound(int fd, const FileGate::Rows& rows, long long start, long long end);
  static bool ReadRun(int fd, const FileGate::Rows& rows, std::size_t row, std::size_t count,
                      double* target);

  long long first = 0;
  long long last = 0;
  long long length = 0;
  std::unique_ptr<double, Free> values;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
