#pragma once

#include <string>
#include <vector>

#include "points/context.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether an argument is the path of a file, and no id.
bool IsPath(const std::string& argument);

// The paths that a path with the characters of a pattern of the shell stands for, sorted; the path
// itself where there is such a file. Throws CommandError when there is none.
std::vector<std::string> ExpandPath(const std::string& path);

// The files of a directory and all below it whose names end with ".rrd", as paths from there on,
// sorted. Links to directories are not followed. What cannot be read is told on standard error, and
// the exit status is EXIT_FAILED then. Throws CommandError when the directory itself cannot be read
// or has none.
std::vector<std::string> ListTree(const std::string& directory, Context& context);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
