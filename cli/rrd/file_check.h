#pragma once

#include <optional>
#include <string>
#include <vector>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What is wrong with a file, and what to do.
struct Finding {
  std::string problem;
  std::string advice;
  bool isCutOff = false;  // recover makes a whole file of it
};

// Whether a journal lies beside the file, or beside the one that a link names.
bool HasJournal(const std::string& path);

// Why the library does not take a file; none for one that it takes, which `file` describes then. An
// interrupted update is undone. Throws CommandError for a file that cannot be read.
std::optional<Finding> FindDamage(const PatientClient& client, const std::string& path,
                                  const std::string& zeltId, Rrd::FileDescription& file);

// Checks header, size and times and, in a file such as create makes, every value; as FindDamage.
std::vector<Finding> CheckFile(const PatientClient& client, const std::string& path,
                               const std::string& zeltId);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
