#pragma once

#include <optional>
#include <string>

#include "replace/locked_directory.h"
#include "replace/opened_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Makes or replaces a file in one step: the new content is written in a private directory beside
// it, and is put in place when it is whole and synced. Every operation throws FileError.
class FileReplacement {
 public:
  // Makes an empty file that becomes `fileName`.
  FileReplacement(LockedDirectory& fileDirectory, const std::string& fileName);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // Removes the new file unless it was put in place.
  ~FileReplacement();

  int Get() const { return descriptor.Get(); }

  // The path of the new file for the library. Nobody else can put another file there.
  std::string GetPath() const;

  // Throws FileError when the file system has no room for another file of `size` bytes.
  void RequireRoom(off_t size) const;

  // Call it after the new file itself was replaced, as the RRD library does.
  void Reopen();

  // Fills the new file with the content of another.
  void CopyContent(const OpenedFile& source) const;

  // Why the new file cannot grow; empty when it can.
  std::string FindGrowthError() const;

  // Puts the new file, with the attributes of `old`, in place of `old`, unless that was changed
  // meanwhile. The caller syncs the directory afterwards.
  void Replace(const OpenedFile& old);

  // The same where there is no other file.
  void PutInPlace();

  // Replaces `old` or, if there is none, puts the file in place with `mode` less the umask; and
  // syncs the directory.
  void ReplaceOrMake(const std::optional<OpenedFile>& old, mode_t mode = READ_WRITE);

 private:
  static constexpr mode_t READ_WRITE = 0666;

  void SetMode(mode_t mode) const;
  void Sync() const;
  void RequireOwnFile() const;

  LockedDirectory& directory;
  std::string name;
  FileDescriptor descriptor;
  bool isInPlace = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
