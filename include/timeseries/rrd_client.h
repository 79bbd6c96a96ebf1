#pragma once

#include <map>
#include <string>

#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/rrd/fetch_result.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase {

// The one way to RRD files. Every operation takes the path of a file and makes one call of the RRD
// library; it returns Failure, after a line in the log, when that call fails. Times are seconds
// since the epoch. Without state: any number of threads may use it, but two writers of one file are
// not coordinated.
class NVX_TIMESERIES_EXPORT RrdClient {
 public:
  virtual ~RrdClient();

  // The time of the oldest row of the archive `rraIndex`. A missing file gives the code of
  // FileSystem::CheckFileExist and leaves `timestamp`; a failure of the RRD library sets it to -1.
  virtual StatusCode GetFirstTimestamp(const std::string& path, int rraIndex,
                                       long long& timestamp) const;

  // The time of the last update. Failures as for GetFirstTimestamp.
  virtual StatusCode GetLastTimestamp(const std::string& path, long long& timestamp) const;

  // The file's step in seconds. A missing file gives the code of FileSystem::CheckFileExist;
  // `interval` is unchanged on every failure.
  virtual StatusCode GetInterval(const std::string& path, unsigned long& interval) const;

  // The samples from `start` to `end`, both included; a bound between two steps counts as the
  // later one (before 1970 the RRD library's steps lie elsewhere). A buffer that `result` holds is
  // released. NullPointer when the RRD library delivers no buffer; `result` is unchanged on every
  // failure.
  virtual StatusCode Fetch(const std::string& path, long long start, long long end,
                           Rrd::FetchResult& result) const;

  // Makes a file with one gauge of a heartbeat of two steps and one archive of `rowCount` rows, the
  // last value of each step; an existing file is replaced. It takes samples later than `startTime`.
  // Samples outside `minimum` to `maximum` are stored as missing; NaN means no bound.
  virtual StatusCode Create(const std::string& path, long long step, long long startTime,
                            double minimum, double maximum, unsigned int rowCount) const;

  // Stores samples, time to value, in one call; the earliest must be later than the last update.
  // Values keep six digits after the point, and NaN is a missing sample.
  virtual StatusCode Update(const std::string& path,
                            const std::map<long long, double>& samples) const;

  // Makes the file anew from itself, with the arguments of Create and the samples that it holds up
  // to `startTime`, and puts it in place of the old one, which stays as it was on failure.
  virtual StatusCode Migrate(const std::string& path, long long step, long long startTime,
                             double minimum, double maximum, unsigned int rowCount) const;

  // What the file consists of. A missing file gives the code of FileSystem::CheckFileExist;
  // `description` is unchanged on every failure.
  StatusCode Describe(const std::string& path, Rrd::FileDescription& description) const;
};

}  // namespace nvx::TimeSeriesDatabase
