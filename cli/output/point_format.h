#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "timeseries/numerical_data_point.h"

// The ways to print the points of a query.
namespace nvx::TimeSeriesDatabase::CommandLine {

// "good" or "bad".
const char* GetQualityText(const NumericalDataPoint& point);

// A header, then a line per point: date, timestamp, the value in the shortest form that reads back
// to the same double ("nan" for none), quality.
void PrintCsv(const std::vector<NumericalDataPoint>& points, std::ostream& output);

// An array of objects with the names of the CSV columns; null for a value that is not finite.
void PrintJson(const std::vector<NumericalDataPoint>& points, std::ostream& output);

// Aligned columns, with three digits after the point. On a terminal of enough columns each finite
// value also gets a bar, of one mark for the lowest and of full length for the highest of them; the
// last line tells which these are. 0 columns stand for no terminal.
void PrintTable(const std::vector<NumericalDataPoint>& points, unsigned int terminalColumns,
                std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
