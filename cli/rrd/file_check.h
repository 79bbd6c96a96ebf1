#pragma once

#include <string>
#include <vector>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What is wrong with a file, and what is to be done.
struct Finding {
  std::string problem;
  std::string advice;
};

// Looks at header, sizes, times and, in a file of create's shape, at every value. An interrupted
// update is undone by that. Throws CommandError for a file that cannot be read.
std::vector<Finding> CheckFile(const PatientClient& client, const std::string& path,
                               const std::string& zeltId);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
