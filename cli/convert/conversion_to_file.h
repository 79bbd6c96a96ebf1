#pragma once

#include <optional>
#include <string>

#include "timeseries/rrd/tool/layout.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Converts `source` to a new file at `destination`, or replaces the file there and keeps its owner,
// mode and other attributes. For `target` see FileConverter. Throws CommandError; `destination` is
// then unchanged, unless only its directory could not be synced.
void ConvertToFile(const std::string& source, const std::string& destination,
                   std::optional<Rrd::Tool::Layout> target);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
