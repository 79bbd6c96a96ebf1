#pragma once

#include <string>

#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Throws FileError unless each row of the new file has the sample that the old one has for its
// time, as far as both files reach. Both are data files as RrdClient::Create makes them.
void RequireSamplesKept(const RrdClient& client, const std::string& oldPath,
                        const std::string& newPath);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
