#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// An RrdClient that waits for a file which another process reads or writes. The RRD library locks a
// file for each call, for reading or for writing, and gives up at once where it cannot. Operations
// on an existing file are repeated then, and throw CommandError when the time is over.
class PatientClient : public RrdClient {
 public:
  void SetPatience(std::chrono::seconds longestWait) { patience = longestWait; }

  StatusCode GetFirstTimestamp(const std::string& path, int rraIndex,
                               long long& timestamp) const override;
  StatusCode GetLastTimestamp(const std::string& path, long long& timestamp) const override;
  StatusCode GetInterval(const std::string& path, unsigned long& interval) const override;
  StatusCode Fetch(const std::string& path, long long start, long long end,
                   Rrd::FetchResult& result) const override;
  StatusCode Update(const std::string& path,
                    const std::map<long long, double>& samples) const override;

  // In place of the operation of the base, which is not virtual.
  StatusCode Describe(const std::string& path, Rrd::FileDescription& description) const;

 private:
  StatusCode Repeat(const std::string& path, const std::function<StatusCode()>& operation) const;

  std::chrono::seconds patience{10};
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
