#pragma once

#include <chrono>
#include <string>

#include "replace/directory.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The right to make and replace files in a directory, which one process has at a time, and a
// private directory in it for new files, which nobody else can reach. Every operation throws
// FileError.
class LockedDirectory {
 public:
  // Waits at most `patience` for another process that has the right. Then removes what killed
  // processes have left, unless the file system has no locks, or another user can write to the
  // directory and may have given such a name to anything.
  explicit LockedDirectory(const Directory& lockedDirectory,
                           std::chrono::milliseconds patience = DEFAULT_PATIENCE);
  LockedDirectory(const LockedDirectory&) = delete;
  LockedDirectory& operator=(const LockedDirectory&) = delete;

  // Removes the private directory with all that is in it.
  ~LockedDirectory();

  const Directory& Get() const { return directory; }

  // The private directory, made when it is first needed.
  const FileDescriptor& GetPrivateDirectory();

 private:
  static constexpr std::chrono::seconds DEFAULT_PATIENCE{30};

  const Directory& directory;
  InterruptionGuard interruptionGuard;
  FileDescriptor lock;
  std::string privateName;
  FileDescriptor privateDirectory;
};

// Whether an entry of that name was left by a process that was killed.
bool IsTemporaryName(const std::string& name);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
