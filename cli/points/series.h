#pragma once

#include <map>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The labels that distinguish a series from others, in the order of their names.
using Labels = std::map<std::string, std::string>;

// What another database gets of a file.
struct Series {
  std::string zeltId;
  Labels labels;       // with that of the name, "id"
  std::string source;  // empty where the file has a single one
  std::string scope;
};

// The label of what follows the scope in an id.
constexpr char ID_LABEL[] = "id";

// The label of the directory, where files of several are sent; its value is the directory's name.
constexpr char DIRECTORY_LABEL[] = "directory";

// The labels of a data source of several, and of what rows tell of the samples of their time, where
// they are no samples.
constexpr char SOURCE_LABEL[] = "source";
constexpr char CONSOLIDATION_LABEL[] = "consolidation";

// Reads texts of the form "KEY=VALUE". Throws UsageError for any other, for a key that is given
// twice and for the keys that the command itself gives.
Labels ReadLabels(const std::vector<std::string>& texts);

// The labels of directories, in their order. A single directory has none, since it needs no
// distinction. With `isAlways` each has one, the last part of its path whatever the others are.
// Throws UsageError for two directories of one name.
std::vector<Labels> MakeDirectoryLabels(const std::vector<std::string>& directories, bool isAlways);

// The path without links, as far as it exists.
std::string ResolvePath(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
