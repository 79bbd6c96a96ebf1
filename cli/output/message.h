#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text with "?" for each control character, so that it stays one line.
std::string WithoutControls(std::string text);

// Writes "nvx-timeseries: TEXT" to standard error, as one line whatever the text holds.
void PrintMessage(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
