#pragma once

#include <map>
#include <string>
#include <utility>

#include "rrd/patient_client.h"
#include "rrd/stored_samples.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Which samples are accepted besides those that follow the file's last update, and what a stored
// batch survives.
struct SamplePolicy {
  bool mayBePast = false;    // earlier samples are left out, not refused
  bool mayBeFuture = false;  // samples more than a day ahead, which block the file, are stored
  Rrd::Durability durability = Rrd::Durability::Process;
};

// Stores samples in a file of one data source, in batches that fit in memory. Every operation
// throws CommandError.
class SampleWriter {
 public:
  // `fileName` is for errors. The client must outlive the writer.
  SampleWriter(const PatientClient& client, const std::string& filePath,
               const std::string& fileName, const SamplePolicy& samplePolicy);

  // Adds a sample to the batch; false, with the batch unchanged, when it has a sample of that time.
  bool Add(const std::pair<long long, double>& sample);

  bool IsBatchFull() const;

  // Stores the batch, all of it or nothing, and starts a new one. Throws CommandError, with nothing
  // of the batch stored, when it begins before the file's last update or ends in the future.
  void StoreBatch();

  unsigned long long GetStoredCount() const { return stored.GetCount(); }

  // Whether there was any sample, stored or left out.
  bool HasSamples() const { return !stored.IsEmpty() || pastCount > 0; }

  // The output: how many samples were stored, and what happened to others.
  std::string Describe() const;

 private:
  void RequireNotEmpty(long long time) const;

  const PatientClient& rrdClient;
  std::string path;
  std::string name;
  SamplePolicy policy;
  long long formerLast;
  StoredSamples stored;
  std::map<long long, double> batch;
  unsigned long long pastCount = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
