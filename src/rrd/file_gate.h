#pragma once

#include <string>

#include "rrd/fault.h"
#include "rrd/file_header.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A time that no file reaches, 35,000 years from the epoch. Up to it, sizes fit into 64 bits,
// whatever the number of data sources. Far beyond it, and for a span that ends before it starts,
// the RRD library computes the size of its buffer modulo 2^64 and may write outside it.
inline constexpr long long FARTHEST_TIME = 1LL << 40;

// Values, a GiB of them: at a step of a minute, 255 years.
inline constexpr std::uint64_t LARGEST_FETCH = 1 << 27;

// Checks an RRD file before the RRD library opens it. The RRD library trusts every number in a
// header: it divides by them, multiplies them modulo 2^64 and uses them as positions.
//
// The RRD library opens the file once more. If it does so by path, someone who replaces the file in
// between can still give it another header; see RrdClient::PinFiles.
class FileGate {
 public:
  // Reads the header of an open file; -1 for one that could not be opened. A file that another
  // process is writing is not examined; it is locked.
  explicit FileGate(int fd);

  // Checks a header that was read before, of a file of that size.
  FileGate(std::string fileHeader, std::uint64_t fileSize);

  // Takes the RRD library's lock for reading, until this process closes the file next. False while
  // another process writes.
  static bool Lock(int fd);

  // Whether another process has a lock on the file at this moment.
  static bool IsFileLocked(const std::string& path);

  // Why the RRD library must not get the file; null when it may. A file that cannot be opened or
  // does not begin as an RRD file is left to the RRD library, which says so in its own words.
  const char* GetFault() const { return fault; }

  // The header, if it has no fault; empty for a file that is left to the RRD library.
  const std::string& GetHeader() const { return header; }

  // The same for a fetch of the rows from `start` to `end`, which must not need more memory than
  // the archive or a GiB.
  const char* GetFetchFault(long long start, long long end) const;

  // The same for an update. Where no data source takes a reading, the RRD library writes through
  // pointers that were never set.
  const char* GetUpdateFault() const;

  // The same for a migration, in which the RRD library computes the length of a row with 31 bits.
  const char* GetMigrationFault() const;

  // Where the rows of an archive lie in the file. The row of index i, from the oldest one on, is at
  // (oldest + i) modulo the number of rows.
  struct Rows {
    const ArchiveDescription* archive;
    unsigned long long oldest;
    std::uint64_t position;  // in the file
    unsigned long sourceCount;
    long long length;  // seconds
  };

  // Why no rows can be read of a file; null when `rows` tells where they lie.
  const char* FindRows(unsigned long archive, unsigned long source, Rows& rows) const;

 private:
  // Reads the file; if it finds a fault, it reads again with a lock.
  void Read(int fd);

  // They return the fault.
  const char* ReadFile(int fd);
  const char* CheckHeader(std::uint64_t fileSize);
  const char* ReadParts(const stat_head_t& head, const HeaderLayout& layout);

  std::string header;
  const char* fault = nullptr;
  unsigned long sourceCount = 0;
  FileDescription description;            // the step and the archives alone
  std::vector<unsigned long> newestRows;  // of each archive
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
