#pragma once

#include <sys/stat.h>

#include <string>

#include "replace/directory.h"
#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The journal of "x.rrd" is "x.rrd-journal".
inline constexpr char JOURNAL_SUFFIX[] = "-journal";

// A regular file, opened once and used through its descriptor alone: whatever happens to its name
// meanwhile, the same file is examined, read and replaced.
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

  // Throws FileError unless the name still belongs to this file, unchanged since it was opened.
  void RequireUnchanged() const;

  // Whether an update of it was interrupted, or is under way: its content must not be used.
  bool HasPendingJournal() const;

  // Throws FileError for what would keep the file from being replaced, as far as that can be known
  // without trying. `nameCount` is how many names (hard links) it may have.
  void RequireReplaceable(nlink_t nameCount = 1) const;

 private:
  const Directory& directory;
  std::string name;
  FileDescriptor descriptor;
  struct stat status {};
};

bool IsSameFile(const struct stat& lhs, const struct stat& rhs);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
