#pragma once

#include <string>

#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The file of a state, which one process uses at a time. Every operation throws FileError.
class StateFile {
 public:
  // Opens the file at `path`, or makes an empty one that only its owner may read, and locks it.
  // Throws CommandError when another process has locked it.
  explicit StateFile(const std::string& path);

  // Its path without symbolic links.
  std::string GetPath() const;

  // A path of the open file, for reading.
  std::string GetDescriptorPath() const { return descriptor.GetPath(); }

 private:
  FileDescriptor descriptor;
};

// Renames the file at a path, together with files that SQLite may have left beside it, and returns
// the new name.
std::string SetStateAside(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
