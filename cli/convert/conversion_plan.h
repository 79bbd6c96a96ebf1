#pragma once

#include <map>
#include <string>
#include <vector>

#include "convert/conversion_summary.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

inline constexpr char RRD_EXTENSION[] = ".rrd";

// Names of files of one directory and their paths as the user knows them.
using PlannedFiles = std::map<std::string, std::string>;

// The files to convert, each once, by directory: an absolute path without symbolic links.
using ConversionPlan = std::map<std::string, PlannedFiles>;

// Finds the files that `paths` name, and the *.rrd files in the directory trees that they name.
// Symbolic links are followed in `paths` and nowhere else. Problems go to `summary`.
ConversionPlan MakeConversionPlan(const std::vector<std::string>& paths,
                                  ConversionSummary& summary);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
