#pragma once

#include <chrono>
#include <string>

#include "replace/directory.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The right to make and replace files in a directory, which one process has at a time, and a
// private directory in it, where new files grow that nobody else can reach. Every operation throws
// FileError.
class LockedDirectory {
 public:
  // Waits for another process that has the right, not longer than `patience`. Then removes what
  // processes that were killed have left, unless the file system has no locks or another user can
  // write the directory, who may have given such a name to anything.
  explicit LockedDirectory(const Directory& lockedDirectory,
                           std::chrono::milliseconds patience = DEFAULT_PATIENCE);
  LockedDirectory(const LockedDirectory&) = delete;
  LockedDirectory& operator=(const LockedDirectory&) = delete;

  // Removes the private directory with all that is in it.
  ~LockedDirectory();

  const Directory& Get() const { return directory; }

  // The private directory, which is made when it is first needed.
  const FileDescriptor& GetPrivateDirectory();

 private:
  static constexpr std::chrono::seconds DEFAULT_PATIENCE{30};

  const Directory& directory;
  InterruptionGuard interruptionGuard;
  FileDescriptor lock;
  std::string privateName;
  FileDescriptor privateDirectory;
};

// Whether an entry of that name is what a process that was killed has left.
bool IsTemporaryName(const std::string& name);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
