#pragma once

#include <map>
#include <string>

#include "timeseries/export.h"
#include "timeseries/failure.h"
#include "timeseries/rrd/durability.h"
#include "timeseries/rrd/fetch_result.h"
#include "timeseries/rrd/file_description.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// Reads and writes RRD files. Every operation takes the path of a file and makes one call of the
// RRD library. It returns Failure, after a line in the log, when that call fails. When the header
// of the file has numbers that the RRD library cannot compute with, it returns Failure without the
// call. The class Failure has the reason. Times are seconds since the epoch.
//
//   const StatusCode status = rrd.Update(path, samples);
//   if (status != StatusCode::Success && Failure::IsLocked()) {
//     // another process reads the file: try again a moment later
//   } else if (status != StatusCode::Success) {
//     std::fprintf(stderr, "%s: %s\n", path.c_str(), Failure::GetReason());
//   }
//
// Without state: any number of threads may use it, each on files of its own, or all for reading.
// The RRD library locks a file for each call, but only against other processes. A thread must not
// write a file while another one of the same process reads or writes it: the end of one call would
// release the lock of the other. Two processes that write one file are not coordinated either: each
// refuses samples that are earlier than the other's newest one.
class NVX_TIMESERIES_EXPORT RrdClient {
 public:
  virtual ~RrdClient();

  // The time of the oldest row of the archive `rraIndex`. For a missing file, the code of
  // FileSystem::CheckFileExist, with `timestamp` unchanged; a failure of the RRD library sets it to
  // -1.
  virtual StatusCode GetFirstTimestamp(const std::string& path, int rraIndex,
                                       long long& timestamp) const;

  // The time of the last update. It fails as GetFirstTimestamp does.
  virtual StatusCode GetLastTimestamp(const std::string& path, long long& timestamp) const;

  // The file's step in seconds. For a missing file, the code of FileSystem::CheckFileExist.
  // `interval` is unchanged on every failure.
  virtual StatusCode GetInterval(const std::string& path, unsigned long& interval) const;

  // The samples from `start` to `end`, both included; a bound between two steps is moved to the
  // later one (before 1970, where the RRD library counts steps differently, it may not be).
  // NullPointer when the RRD library delivers no buffer. `result` is unchanged on every failure;
  // a buffer that it holds is released on success.
  virtual StatusCode Fetch(const std::string& path, long long start, long long end,
                           Rrd::FetchResult& result) const;

  // Makes a file and replaces an existing one. It has one gauge, whose value is missing when no
  // sample comes for two steps, and one archive of `rowCount` rows, the last value of each step. It
  // takes samples later than `startTime`, which itself may be up to 2^40, the year 36812. Samples
  // outside `minimum` to `maximum` are stored as missing; NaN means no bound.
  virtual StatusCode Create(const std::string& path, long long step, long long startTime,
                            double minimum, double maximum, unsigned int rowCount) const;

  // Stores samples, time to value, in one call; the earliest must be later than the last update.
  // Values keep six digits after the point, and NaN is a missing sample. A sample after 2^40, or
  // where a long has 32 bits after 2038-01-19T03:14:07Z, is refused, and all others with it: the
  // RRD library would store nonsense, or a file that nothing can open any more.
  virtual StatusCode Update(const std::string& path,
                            const std::map<long long, double>& samples) const;

  // Replaces the file by one made with these arguments, as for Create, that has the samples of the
  // old one up to `startTime`, which may be up to 2^40. On failure the old file is unchanged, and
  // Failure reports a lock only if it was still held afterwards.
  virtual StatusCode Migrate(const std::string& path, long long step, long long startTime,
                             double minimum, double maximum, unsigned int rowCount) const;

  // As Update, but all samples of the batch are stored or none, even when the RRD library refuses
  // one of them, when the process is killed, and, with Durability::Power, when the machine stops.
  // Once it has returned Success, the batch stays. Until then there is a journal beside the file,
  // "x.rrd-journal". Every operation of this class that opens the file after an interrupted update
  // undoes that first, and fails if it may not write. With Power, an idle journal is kept between
  // updates. Failure, with nothing stored, also when no journal can be made.
  StatusCode UpdateAtomically(const std::string& path, const std::map<long long, double>& samples,
                              Rrd::Durability durability) const;

  // The rows of one archive and one data source from `start` to `end`, both included and moved to
  // the later row, missing where the archive has none. `archive` and `source` are places in the
  // description. Fetch instead leaves it to the RRD library which archive is read, and takes the
  // values of one row after the other for samples. `result` is unchanged on every failure.
  StatusCode FetchRows(const std::string& path, unsigned long archive, unsigned long source,
                       long long start, long long end, Rrd::FetchResult& result) const;

  // What the file consists of. For a missing file, the code of FileSystem::CheckFileExist.
  // `description` is unchanged on every failure.
  StatusCode Describe(const std::string& path, Rrd::FileDescription& description) const;

  // From now on and for the whole process, the RRD library opens the file whose header was checked,
  // as /proc/self/fd/N, instead of its path a second time. For programs that read directories in
  // which others may replace files. It needs /proc.
  static void PinFiles() noexcept;
};

}  // namespace nvx::TimeSeriesDatabase
