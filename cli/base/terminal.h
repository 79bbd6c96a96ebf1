#pragma once

namespace nvx::TimeSeriesDatabase::CommandLine {

// The columns of the terminal at standard output, or else the value of the variable COLUMNS. 0 when
// neither is known.
unsigned int GetTerminalColumns();

// The same for rows and LINES.
unsigned int GetTerminalRows();

// Whether the locale of the environment is one of UTF-8.
bool IsUtf8Locale();

// Whether standard output is a terminal with colours and NO_COLOR is unset or empty.
bool HasColours();

}  // namespace nvx::TimeSeriesDatabase::CommandLine
