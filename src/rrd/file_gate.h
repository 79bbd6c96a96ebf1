#pragma once

#include <string>

#include "rrd/file_header.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A time that no file reaches, 35,000 years from the epoch. Far beyond it, and for a span that ends
// before it starts, the RRD library computes the size of its buffer modulo 2^64 and may write
// outside it; up to here the sizes fit, whatever the number of data sources.
inline constexpr long long FARTHEST_TIME = 1LL << 40;

// The RRD library's words for a file that another process has locked.
inline constexpr char LOCK_FAULT[] = "could not lock RRD";

// The look at an RRD file that comes before the RRD library's own. The RRD library trusts every
// number of a header: it divides by them, multiplies them modulo 2^64 and takes them for positions.
//
// The RRD library opens the file once more. Where that is by its path, who replaces it in between can
// still hand it another header; see RrdClient::PinFiles.
class FileGate {
 public:
  // Reads the header of an open file; -1 for one that could not be opened. No fault is sought in
  // what another process writes; that file is locked.
  explicit FileGate(int fd);

  // Looks at the header of a file of that size, which was read before.
  FileGate(std::string fileHeader, std::uint64_t fileSize);

  // Whether another process has locked a file at this moment.
  static bool IsFileLocked(const std::string& path);

  // Why the RRD library must not be given the file; null when it may. A file that cannot be opened
  // or does not begin as an RRD file is left to the RRD library, which says so in its own words.
  const char* GetFault() const { return fault; }

  // The header where there is no fault; empty for what is left to the RRD library.
  const std::string& GetHeader() const { return header; }

  // The same as GetFault for a fetch of the rows from `start` to `end`, which must not need more
  // memory than the archive or a GiB.
  const char* GetFetchFault(long long start, long long end) const;

  // The same as GetFault for a migration, in which the RRD library computes with rows of 31 bits of
  // seconds.
  const char* GetMigrationFault() const;

 private:
  // Reads the file, with a lock when it finds a fault without.
  void Read(int fd);

  // They return the fault.
  const char* ReadFile(int fd);
  const char* CheckHeader(std::uint64_t fileSize);
  const char* ReadParts(const stat_head_t& head, const HeaderLayout& layout);

  std::string header;
  const char* fault = nullptr;
  unsigned long sourceCount = 0;
  FileDescription description;  // the step and the archives alone
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
