#pragma once

#include <functional>
#include <string>

#include "rrd/patient_client.h"
#include "rrd/sample_comparison.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What a data file is to be like: the arguments of RrdClient::Create and RrdClient::Migrate.
struct DataFileDefinition {
  long long step;
  long long startTime;
  double minimum;
  double maximum;
  unsigned int rowCount;
};

// Makes the data file at `path`, where nothing may be unless `mayReplace`. The new file has been
// read back and has what was asked for; `fill` stores samples in it, by another path, before it is
// put in place. Throws FileError and what `fill` throws; all is as it was then.
void CreateDataFile(const std::string& path, const DataFileDefinition& definition, bool mayReplace,
                    const PatientClient& client,
                    const std::function<void(const std::string&)>& fill);

// Makes the data file at `path` anew from itself. The new file has been read back and has what was
// asked for and all samples of the old one, unless `mayDrop`. Throws FileError; all is as it was
// then.
ComparedSamples MigrateDataFile(const std::string& path, const DataFileDefinition& definition,
                                bool mayDrop, const PatientClient& client);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
