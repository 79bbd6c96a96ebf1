#pragma once

#include <string>

#include "points/context.h"
#include "points/selected_files.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// RRD files have no sample at the epoch or before it, where the RRD library counts steps
// differently.
constexpr long long EARLIEST_SAMPLE = 1;

// The file of an id that is asked, with a single data source. It is described once, when it is
// opened, which throws CommandError for any other file. The context must outlive it.
struct Source {
  Source(const SelectedFile& selected, Context& commandContext);

  std::string zeltId;
  std::string path;
  Rrd::FileDescription file;
  Context& context;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
