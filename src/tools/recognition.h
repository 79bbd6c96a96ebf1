#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "timeseries/rrd/tool/layout_converter.h"
#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Finds the layout of the RRD file that is open as `fd`. Fills in `file` and returns nothing, or
// returns why the file is refused; of one that is shorter than its header says, also the layouts
// that it may have.
std::string RecogniseLayout(int fd, std::uint64_t fileSize, RecognisedFile& file,
                            std::vector<Layout>& cutOff);

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
