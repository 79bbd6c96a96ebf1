#pragma once

#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// How many samples of an old file the new one has and lacks.
struct ComparedSamples {
  unsigned long long keptCount = 0;
  unsigned long long lostCount = 0;  // those that the new file does not have at their time
};

// Compares the samples of the old file with those of the new one. Both are data files as
// RrdClient::Create makes them. Throws FileError.
ComparedSamples CompareSamples(const PatientClient& client, const std::string& oldPath,
                               const std::string& newPath);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
