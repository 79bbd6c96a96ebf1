#pragma once

#include <string>

#include "support/run_program.h"
#include "support/temporary_directory.h"

// Runs commands of the shell in a directory of its own, which is the database directory, too. They
// find nvx-timeseries in the PATH and the directory of the test data in $DATA.
class Shell {
 public:
  ProgramResult Run(const std::string& command) const {
    return RunProgram({"sh", "-c", PREAMBLE + command},
                      {"DIRECTORY=" + directory.GetPath(), "DATA=" TEST_DATA,
                       "PROGRAM=" NVX_TIMESERIES, "LC_ALL=C", "TZ=UTC"});
  }

 private:
  static constexpr char PREAMBLE[] = R"(cd "$DIRECTORY" || exit
PATH=${PROGRAM%/*}:$PATH
unset COLUMNS NVX_TIMESERIES_DATABASE NVX_TIMESERIES_METADATA_STORE
)";

  TemporaryDirectory directory;
};
