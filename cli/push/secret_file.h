#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The first line of a file. A message warns about a file that every user can read. Throws
// CommandError when the line is missing or empty.
std::string ReadSecretFile(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
