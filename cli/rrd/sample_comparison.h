#pragma once

#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Throws FileError unless each row of the new file has the sample that the old one has for its
// time, as far as both files reach. Both are data files as RrdClient::Create makes them.
void RequireSamplesKept(const PatientClient& client, const std::string& oldPath,
                        const std::string& newPath);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
