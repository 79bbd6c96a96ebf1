#pragma once

namespace nvx::TimeSeriesDatabase::CommandLine {

// The columns of the terminal that is the standard output; where it is none, those of the variable
// COLUMNS. 0 when neither is known.
unsigned int GetTerminalColumns();

}  // namespace nvx::TimeSeriesDatabase::CommandLine
