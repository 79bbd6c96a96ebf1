#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "formats/curves.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Writes a script with its data inside, from which gnuplot draws a PNG to its standard output. Each
// curve has a line, which breaks where a value is missing or infinite; bad points are hollow. The
// x axis has local times, and changes of the clocks are marked.
void PrintGnuplot(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                  std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
