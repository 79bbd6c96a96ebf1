#pragma once

#include <sys/stat.h>

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The right to replace files in a directory, which one process has at a time; others wait. So a
// temporary file that is found there is one of a process that was killed. Every operation throws
// FileError.
class LockedDirectory {
 public:
  // Removes temporary files, unless the file system has no locks.
  explicit LockedDirectory(const std::string& directoryPath);
  LockedDirectory(const LockedDirectory&) = delete;
  LockedDirectory& operator=(const LockedDirectory&) = delete;
  ~LockedDirectory();

  // Makes the replacements survive a loss of power.
  void Sync() const;

 private:
  int fd = -1;
};

// Replaces a file, or makes it, in one instant: the new content grows in a temporary file beside
// it. Its directory is locked meanwhile. Every operation throws FileError.
class FileReplacement {
 public:
  // Makes the temporary file for `targetPath`, which is no symbolic link.
  explicit FileReplacement(const std::string& targetPath);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // Removes the temporary file unless it was put in place.
  ~FileReplacement();

  // Of the temporary file.
  const std::string& GetTemporaryPath() const { return temporaryPath; }
  int GetDescriptor() const { return fd; }
  void SetMode(mode_t mode) const;
  void SetOwnerAndMode(const struct stat& other) const;
  void SetTimes(const struct stat& other) const;
  void Sync() const;

  void PutInPlace();

 private:
  std::string target;
  std::string temporaryPath;
  int fd = -1;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
