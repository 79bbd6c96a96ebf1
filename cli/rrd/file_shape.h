#pragma once

#include <string>

#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// "2 data sources (rx COUNTER, tx COUNTER), 1 archive (AVERAGE of 1 step)"
std::string DescribeShape(const Rrd::FileDescription& description);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
