#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The first line of a file, which is not empty. A message warns of a file that every user can read.
// Throws CommandError when there is no such line.
std::string ReadSecretFile(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
