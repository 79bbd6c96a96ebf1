#pragma once

#include <ostream>
#include <vector>

#include "formats/curves.h"
#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Aligned columns of dates, as NameDate has them, values and qualities. On a terminal of enough
// columns each finite value also gets a bar, of one mark for the lowest and of full length for the
// highest of them; the last line tells which these are. 0 columns stand for no terminal.
void PrintTable(const Points& points, CalendarUnit unit, unsigned int terminalColumns,
                std::ostream& output);

// A column of dates and one for each curve, under its name. "*" marks a bad value, and "-" stands
// where there is none.
void PrintTable(const std::vector<Curve>& curves, const std::vector<std::string>& names,
                CalendarUnit unit, std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
