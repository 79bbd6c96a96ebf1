#include "replace/directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// Each part is opened in the one before, so that no link is followed that was put in its place.
FileDescriptor OpenWithoutLinks(const fs::path& resolvedPath) {
  FileDescriptor opened(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
  for (const fs::path& part : resolvedPath.relative_path()) {
    opened = FileDescriptor(
        openat(opened.Get(), part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    RequireCall(opened.IsOpen(), "the directory cannot be opened");
  }
  return FileDescriptor(openat(opened.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

ResolvedPath Resolve(const std::string& path) {
  std::error_code error;
  fs::path resolved = fs::canonical(path, error);
  if (error) {
    RequireArgument(!fs::is_symlink(path, error), "it is a symbolic link to nothing");
    const fs::path directory = fs::absolute(path, error).parent_path();
    RequireArgument(!error && fs::path(path).has_filename(), "it is no path");
    resolved = fs::canonical(directory, error);
    if (error) {
      throw FileError("the directory cannot be opened: " + error.message(), StatusCode::IoError);
    }
    resolved /= fs::path(path).filename();
  }
  return {resolved.parent_path(), resolved.filename()};
}

Directory::Directory(const std::string& resolvedPath)
    : path(resolvedPath), descriptor(OpenWithoutLinks(resolvedPath)) {
  RequireCall(descriptor.IsOpen(), "the directory cannot be opened");
}

bool Directory::Has(const std::string& name) const {
  struct stat status {};
  return fstatat(Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

void Directory::Sync() const {
  // Some file systems have nothing to sync in a directory.
  RequireCall(fsync(Get()) == 0 || errno == EINVAL, "the directory cannot be synced");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
