#pragma once

#include <string>

#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A name in a directory whose path has no symbolic links; "." for that directory itself.
struct ResolvedPath {
  std::string directory;
  std::string name;

  std::string GetPath() const;
};

// Follows the symbolic links of `path`, whose last name need not exist. In a sticky directory that
// all may write to, the last name may only be a link of the caller or of the directory's owner.
// Throws FileError for another user's link, for a link to nothing and for a directory that cannot
// be reached.
ResolvedPath Resolve(const std::string& path);

// An open directory. Names are looked up in it, whatever happens to its path.
class Directory {
 public:
  // Throws FileError, also when a part of the path has become a symbolic link since it was
  // resolved.
  explicit Directory(const std::string& resolvedPath);

  int Get() const { return descriptor.Get(); }
  const std::string& GetPath() const { return path; }
  std::string GetDescriptorPath() const { return descriptor.GetPath(); }

  // Whether it has an entry of that name, of whatever kind.
  bool Has(const std::string& name) const;

  // Makes what was done to its entries survive a loss of power. Throws FileError.
  void Sync() const;

 private:
  std::string path;
  FileDescriptor descriptor;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
