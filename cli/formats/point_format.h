#pragma once

#include <memory>

#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

enum class PointFormat { Table, Csv, Json, Chart, Gnuplot };

// Prints to the standard output, fitting the terminal that it is.
std::unique_ptr<PointWriter> MakePointWriter(PointFormat format, const AnswerShape& shape);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
