#include "replace/directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <climits>
#include <filesystem>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// Each part is opened relative to the one before, so that a link put in its place is not followed.
FileDescriptor OpenWithoutLinks(const fs::path& resolvedPath) {
  FileDescriptor opened(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
  for (const fs::path& part : resolvedPath.relative_path()) {
    opened = FileDescriptor(
        openat(opened.Get(), part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    RequireCall(opened.IsOpen(), "the directory cannot be opened");
  }
  return FileDescriptor(openat(opened.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

constexpr int MOST_LINKS = 40;  // as many as the kernel follows

std::string ReadLink(int directory, const std::string& name) {
  char target[PATH_MAX];
  const ssize_t size = readlinkat(directory, name.c_str(), target, sizeof target);
  RequireCall(size >= 0, "its path cannot be read");
  return {target, static_cast<std::size_t>(size)};
}

struct stat Examine(const FileDescriptor& opened) {
  struct stat status {};
  RequireCall(fstat(opened.Get(), &status) == 0, "it cannot be examined");
  return status;
}

// In a directory such as /tmp anybody can leave a link as a trap for others. This is the kernel's
// rule against that, which not every machine has switched on.
bool IsTrap(const struct stat& link, const struct stat& directory) {
  constexpr mode_t FOR_ALL = S_ISVTX | S_IWOTH;
  return (directory.st_mode & FOR_ALL) == FOR_ALL && link.st_uid != geteuid() &&
         link.st_uid != directory.st_uid;
}

// The directory and the name in it, where the name may be that of a link.
struct Place {
  FileDescriptor directory;
  std::string name;

  // Links on the way to the last name are the kernel's to follow.
  void Enter(const fs::path& path) {
    name = path.filename();
    const bool isDirectory = name.empty() || name == "." || name == "..";
    const fs::path way = isDirectory ? path : "." / path.parent_path();
    name = isDirectory ? "." : name;
    directory = FileDescriptor(openat(directory.IsOpen() ? directory.Get() : AT_FDCWD, way.c_str(),
                                      O_PATH | O_DIRECTORY | O_CLOEXEC));
  }
};

}  // namespace

std::string ResolvedPath::GetPath() const {
  return name == "." ? directory : (fs::path(directory) / name).string();
}

ResolvedPath Resolve(const std::string& path) {
  RequireArgument(!path.empty(), "it is no path");
  Place place;
  std::string way = path;
  for (int linkCount = 0; linkCount <= MOST_LINKS; ++linkCount) {
    const auto requireTarget = [&](const FileDescriptor& opened) {
      const bool isAbsent = !opened.IsOpen() && errno == ENOENT;
      RequireArgument(linkCount == 0 || !isAbsent, "it is a symbolic link to nothing");
    };
    place.Enter(way);
    requireTarget(place.directory);
    RequireCall(place.directory.IsOpen(), "the directory cannot be opened");
    const FileDescriptor last(
        openat(place.directory.Get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    requireTarget(last);
    if (!last.IsOpen() || !S_ISLNK(Examine(last).st_mode)) {
      return {ReadLink(AT_FDCWD, place.directory.GetPath()), place.name};
    }
    RequireArgument(!IsTrap(Examine(last), Examine(place.directory)),
                    "it is another user's symbolic link in a directory that all may write to");
    way = ReadLink(last.Get(), "");
  }
  throw FileError("it has too many symbolic links", StatusCode::InvalidArgument);
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
