#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// An RrdClient that waits for a file which another process reads or writes. The RRD library locks a
// file for each call, for reading or for writing, and gives up at once where it cannot. The call is
// repeated then; when the time is over, CommandError is thrown.
//
// It is no RrdClient to others, who could call an operation of it that is not virtual and does not
// wait.
class PatientClient : private RrdClient {
 public:
  void SetPatience(std::chrono::seconds longestWait) { patience = longestWait; }

  // For data sources, which call virtual operations alone.
  RrdClient& GetForDataSources() { return *this; }

  StatusCode GetFirstTimestamp(const std::string& path, int rraIndex,
                               long long& timestamp) const override;
  StatusCode GetLastTimestamp(const std::string& path, long long& timestamp) const override;
  StatusCode GetInterval(const std::string& path, unsigned long& interval) const override;
  StatusCode Fetch(const std::string& path, long long start, long long end,
                   Rrd::FetchResult& result) const override;
  StatusCode Create(const std::string& path, long long step, long long startTime, double minimum,
                    double maximum, unsigned int rowCount) const override;
  StatusCode Update(const std::string& path,
                    const std::map<long long, double>& samples) const override;
  StatusCode Migrate(const std::string& path, long long step, long long startTime, double minimum,
                     double maximum, unsigned int rowCount) const override;
  StatusCode UpdateAtomically(const std::string& path, const std::map<long long, double>& samples,
                              Rrd::Durability durability) const;
  StatusCode Describe(const std::string& path, Rrd::FileDescription& description) const;

 private:
  StatusCode Repeat(const std::string& path, const std::function<StatusCode()>& operation) const;

  std::chrono::seconds patience{10};
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
