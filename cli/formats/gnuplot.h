#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "formats/curves.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Writes a script with its data inside, of which gnuplot draws a PNG to its standard output: a line
// for each curve, which breaks where a value is missing or infinite, with hollow bad points. The
// x axis has local times, also where the clocks change, which is marked.
void PrintGnuplot(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                  std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
