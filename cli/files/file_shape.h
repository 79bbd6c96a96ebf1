#pragma once

#include <string>

#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What the file at `path` consists of. Throws CommandError about `zeltId` with the reason.
Rrd::FileDescription DescribeFile(const RrdClient& client, const std::string& path,
                                  const std::string& zeltId);

// "2 data sources (rx COUNTER, tx COUNTER), 5 archives"
std::string DescribeShape(const Rrd::FileDescription& description);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
