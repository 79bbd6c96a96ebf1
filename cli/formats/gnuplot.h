#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "points/points.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Writes a script with its data inside, of which gnuplot draws a PNG to its standard output: a line
// for each series, which breaks where a value is missing or infinite, with hollow bad points. The
// x axis has local times, also where the clocks change, which is marked.
void PrintGnuplot(const std::vector<Series>& series, const std::vector<std::string>& names,
                  std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
