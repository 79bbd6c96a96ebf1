#pragma once

#include <functional>
#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The properties of a data file: the arguments of RrdClient::Create and RrdClient::Migrate.
struct DataFileDefinition {
  long long step;
  long long startTime;
  double minimum;
  double maximum;
  unsigned int rowCount;
};

// How many samples of an old file the new one has and lacks.
struct ComparedSamples {
  unsigned long long keptCount = 0;
  unsigned long long lostCount = 0;  // those that the new file does not have at their time
};

// Makes the data file at `path`, where no file may be unless `mayReplace`. The new file is read
// back and checked; `fill` stores samples in it, under another path, before it is put in place.
// Throws FileError and what `fill` throws; nothing has changed then.
void CreateDataFile(const std::string& path, const DataFileDefinition& definition, bool mayReplace,
                    const PatientClient& client,
                    const std::function<void(const std::string&)>& fill);

// Replaces the data file at `path` by one with this definition and its samples. The new file is
// read back and checked; unless `mayDrop` it has all samples of the old one. Throws FileError;
// nothing has changed then.
ComparedSamples MigrateDataFile(const std::string& path, const DataFileDefinition& definition,
                                bool mayDrop, const PatientClient& client);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
