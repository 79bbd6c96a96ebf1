#pragma once

#include <nvx/workstation/printable_text.h>

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

using Workstation::WithoutControls;

// Writes "nvx-timeseries: TEXT" to standard error, as one line whatever is in the text.
void PrintMessage(const std::string& text);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
