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

// Draws curves, under their names, in so many columns and rows of characters, or more where they
// are too few to tell anything. Instants lie at their distances, with local times below. Lines
// break where a value is missing or infinite; a bad one is "o".
void PrintChart(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                const ChartSize& size, Drawing drawing, std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
