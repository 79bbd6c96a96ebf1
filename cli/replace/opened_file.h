#pragma once

#include <sys/stat.h>

#include <string>

#include "replace/directory.h"
#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A regular file, opened once and looked at through its descriptor alone: whatever is done to its
// name meanwhile, it is the same file that is examined, read and replaced.
class OpenedFile {
 public:
  // Opens it for reading; a symbolic link is not followed. Throws FileError for anything but a
  // regular file.
  OpenedFile(const Directory& fileDirectory, const std::string& fileName);

  int Get() const { return descriptor.Get(); }
  std::string GetPath() const { return descriptor.GetPath(); }
  const std::string& GetName() const { return name; }

  // Owner, mode, size and times as they were when it was opened.
  const struct stat& GetStatus() const { return status; }

  // Throws FileError unless its name still names it and it is as it was when it was opened.
  void RequireUnchanged() const;

  // Finds what would keep it from being replaced, as far as that shows before it is tried, and
  // throws FileError. `nameCount` is how many names (hard links) it may have.
  void RequireReplaceable(nlink_t nameCount = 1) const;

 private:
  const Directory& directory;
  std::string name;
  FileDescriptor descriptor;
  struct stat status {};
};

bool IsSameFile(const struct stat& lhs, const struct stat& rhs);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
