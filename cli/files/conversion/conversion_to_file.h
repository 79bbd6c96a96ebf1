#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Converts `source` to a new file at `destination` or in place of the file there, whose owner and
// mode the new one takes. Throws CommandError; `destination` is then as it was, unless only its
// directory could not be synced.
void ConvertToFile(const std::string& source, const std::string& destination);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
