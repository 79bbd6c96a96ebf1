#pragma once

#include <string>

#include "points/context.h"
#include "points/selected_files.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// RRD files have no sample at the epoch or before it, where the RRD library counts steps
// differently.
constexpr long long EARLIEST_SAMPLE = 1;

// An opened file with a single data source, described once, when it is opened. Opening throws
// CommandError for any other file. The context must outlive it.
struct Source {
  Source(const SelectedFile& selected, Context& commandContext);

  std::string zeltId;
  std::string path;
  Rrd::FileDescription file;
  Context& context;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
