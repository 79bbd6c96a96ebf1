#pragma once

#include <optional>
#include <string>
#include <vector>

#include "convert/conversion_summary.h"
#include "timeseries/rrd/tool/layout.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

struct InPlaceOptions {
  std::string backupSuffix;  // appended to the name of each old file; empty: none is kept
  bool isDryRun = false;
  std::optional<Rrd::Tool::Layout> target;  // of the conversion; see FileConverter
};

// Converts files and the *.rrd files of directory trees, each in one step: whenever the process or
// the machine stops, its path names the whole old file or the whole new one. A failure of one file
// does not stop the others.
ConversionSummary ConvertInPlace(const std::vector<std::string>& paths,
                                 const InPlaceOptions& options);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
