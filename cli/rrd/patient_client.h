#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// An RrdClient that waits for a file that another process reads or writes. The RRD library locks a
// file for each call and fails at once when it cannot. Here the call is repeated until the time is
// over; then CommandError is thrown.
//
// The base is private: through it, callers could reach operations that are not virtual and do not
// wait.
class PatientClient : private RrdClient {
 public:
  void SetPatience(std::chrono::seconds longestWait) { patience = longestWait; }

  // For data sources, which call only virtual operations.
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
  StatusCode FetchRows(const std::string& path, unsigned long archive, unsigned long source,
                       long long start, long long end, Rrd::FetchResult& result) const;
  StatusCode Describe(const std::string& path, Rrd::FileDescription& description) const;

 private:
  StatusCode Repeat(const std::string& path, const std::function<StatusCode()>& operation) const;

  std::chrono::seconds patience{10};
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
