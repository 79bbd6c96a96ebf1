#pragma once

#include <string>
#include <vector>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What is wrong with a file, and what to do.
struct Finding {
  enum class Kind {
    Other,
    CutOff,         // recover makes a whole file of it
    Undone,         // an update was interrupted, which the check itself has undone
    IgnoredJournal  // a file in the place of the journal, which was none, has been removed
  };

  std::string problem;
  std::string advice;
  Kind kind = Kind::Other;
};

// Checks header, size and times and, in a file such as create makes, every value. An interrupted
// update is undone. Throws CommandError for a file that cannot be read.
std::vector<Finding> CheckFile(const PatientClient& client, const std::string& path,
                               const std::string& zeltId);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
