#pragma once

#include <string>
#include <vector>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The rows of one archive that lay beyond the end of a file.
struct LostRows {
  std::string consolidation;
  unsigned long stepsPerRow = 0;
  unsigned long rowCount = 0;
  unsigned long lostCount = 0;
};

// Makes a whole file of the copy of a file that has lost its end. Rows that are not whole become
// missing. Throws FileError for a file that cannot be repaired.
std::vector<LostRows> RestoreEnd(const PatientClient& client, int fd, const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
