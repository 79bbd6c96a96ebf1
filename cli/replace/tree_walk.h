#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "base/directory_names.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Visits the entries of a directory tree; one directory is open at a time, however deep the tree.
// `take` gets the path of an entry from the root on, and returns whether it is a directory to be
// visited, too. `refuse` gets the path of a directory that cannot be read, empty for the root.
template <typename Take, typename Refuse>
void WalkTree(const std::filesystem::path& root, const Take& take, const Refuse& refuse) {
  namespace fs = std::filesystem;
  std::vector<fs::path> left = {""};
  while (!left.empty()) {
    const fs::path directory = left.back();
    left.pop_back();
    std::error_code error;
    for (const std::string& name : ReadNames(root / directory, error)) {
      if (take(directory / name)) {
        left.push_back(directory / name);
      }
    }
    if (error) {
      refuse(directory, error);
    }
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
