#pragma once

#include <string>

#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The file of a state, which one process has at a time. Every operation throws FileError.
class StateFile {
 public:
  // Opens the file of `path`, or makes an empty one that only its owner may read, and locks it.
  // Throws CommandError when another process has it.
  explicit StateFile(const std::string& path);

  // Its path without symbolic links.
  std::string GetPath() const;

  // A path of the very file, for reading.
  std::string GetDescriptorPath() const { return descriptor.GetPath(); }

 private:
  FileDescriptor descriptor;
};

// Gives what is at a path, with what SQLite may have left beside it, another name, which is
// returned.
std::string SetStateAside(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
