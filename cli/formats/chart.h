#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "formats/canvas.h"
#include "formats/curves.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

struct ChartSize {
  unsigned int columns;
  unsigned int rows;
};

// Draws curves with their names in the given columns and rows, or in more where those are too few.
// Instants have their true distances, with local times below. Lines break where a value is missing
// or infinite; a bad value is "o".
void PrintChart(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                const ChartSize& size, Drawing drawing, std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
