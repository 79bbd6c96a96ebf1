#pragma once

#include <optional>
#include <string>

#include "timeseries/rrd/tool/layout.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Converts `source` to a new file at `destination` or in place of the file there, with all that
// belongs to that one. FileConverter tells what `target` means. Throws CommandError; `destination`
// is then as it was, unless only its directory could not be synced.
void ConvertToFile(const std::string& source, const std::string& destination,
                   std::optional<Rrd::Tool::Layout> target);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
