#pragma once

#include <map>
#include <string>
#include <utility>

#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Stores samples in a file, in batches that fit in memory.
class SampleWriter {
 public:
  // `name` is for errors. The client must outlive the writer. Samples more than a day in the future
  // are refused unless `mayBeFuture`: one wrong year empties the archive and blocks the file.
  SampleWriter(const RrdClient& client, const std::string& filePath, const std::string& fileName,
               bool mayBeFuture);

  // Adds a sample to the batch; false, with the batch unchanged, when it has one of that time.
  bool Add(const std::pair<long long, double>& sample);

  bool IsBatchFull() const;

  // Stores the batch and starts a new one. Throws CommandError, with nothing of the batch stored,
  // when it begins before the file's last update or ends in the future.
  void StoreBatch();

  unsigned long long GetStoredCount() const { return storedCount; }

 private:
  const RrdClient& rrdClient;
  std::string path;
  std::string name;
  bool isFutureAllowed;
  std::map<long long, double> batch;
  unsigned long long storedCount = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
