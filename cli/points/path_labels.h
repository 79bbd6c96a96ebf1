#pragma once

#include <string>
#include <vector>

#include "points/series.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The label of a file that is given by its path, unless --path-labels names the parts of it.
constexpr char PATH_LABEL[] = "path";

// What measurements of files that are given by their paths are called.
constexpr char PATH_SCOPE[] = "rrd";

// Names for the parts of a path, such as "host/plugin-instance/type": one part of the text for each
// component of the path, with "-" between the names of what "-" separates in it.
class PathLabels {
 public:
  // Without names, the path is the only label.
  PathLabels() = default;

  // Throws UsageError for a text that has other characters, or a name twice.
  explicit PathLabels(const std::string& text);

  // The labels of the path of an RRD file. The last name of a component takes all that is left of
  // it, and the last component all that is left of the path, without the ending ".rrd". What is
  // missing or empty has no label.
  Labels Read(const std::string& path) const;

 private:
  std::vector<std::vector<std::string>> names;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
