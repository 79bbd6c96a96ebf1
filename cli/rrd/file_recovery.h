#pragma once

#include <string>
#include <vector>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The rows of one archive that were behind the end of a file.
struct LostRows {
  std::string consolidation;
  unsigned long stepsPerRow = 0;
  unsigned long rowCount = 0;
  unsigned long lostCount = 0;
};

// Makes the copy of a file that has lost its end a whole one: the rows that are not whole are
// missing then. Throws FileError for what cannot be mended.
std::vector<LostRows> RestoreEnd(const PatientClient& client, int fd, const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
