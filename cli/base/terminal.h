#pragma once

namespace nvx::TimeSeriesDatabase::CommandLine {

// The columns of the terminal that is the standard output; where it is none, those of the variable
// COLUMNS. 0 when neither is known.
unsigned int GetTerminalColumns();

// The same of its rows and of LINES.
unsigned int GetTerminalRows();

// Whether the locale of the environment is one of UTF-8.
bool IsUtf8Locale();

// Whether the standard output is a terminal of colours that may be used: NO_COLOR is not set.
bool HasColours();

}  // namespace nvx::TimeSeriesDatabase::CommandLine
