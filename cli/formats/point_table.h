#pragma once

#include <ostream>
#include <vector>

#include "formats/curves.h"
#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Aligned columns of dates, as NameDate has them, values and qualities. On a terminal with enough
// columns each finite value also gets a bar, from one mark for the lowest value to full length for
// the highest; the last line gives both. 0 columns mean that there is no terminal.
void PrintTable(const Points& points, CalendarUnit unit, unsigned int terminalColumns,
                std::ostream& output);

// A column of dates and one for each curve, under its name. "*" marks a bad value, "-" a missing
// one.
void PrintTable(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                CalendarUnit unit, std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
