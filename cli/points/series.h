#pragma once

#include <map>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// What tells a series from others, by name; the names in order.
using Labels = std::map<std::string, std::string>;

// What a data source is called where it is sent to.
struct ExportedSeries {
  std::string scope;
  Labels labels;            // with that of the name, "id"
  bool hasQuality = false;  // its points are of intervals, and may be bad
};

// The label of what follows the scope in an id.
constexpr char ID_LABEL[] = "id";

// The label of the directory, where files of several are sent; its value is the directory's name.
constexpr char DIRECTORY_LABEL[] = "directory";

// Reads texts of the form "KEY=VALUE". Throws UsageError for any other, for a key that is given
// twice and for the keys that the command itself gives.
Labels ReadLabels(const std::vector<std::string>& texts);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
