#pragma once

#include <cstdint>
#include <string>

#include "timeseries/rrd/tool/layout_converter.h"
#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Finds the layout of the RRD file that is open as `fd`. Fills in `file` and returns nothing, or
// returns why the file is refused.
std::string RecogniseLayout(int fd, std::uint64_t fileSize, RecognisedFile& file);

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
