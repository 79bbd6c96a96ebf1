#include "replace/opened_file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <vector>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsSameTime(const timespec& lhs, const timespec& rhs) {
  return lhs.tv_sec == rhs.tv_sec && lhs.tv_nsec == rhs.tv_nsec;
}

bool IsOwnGroup(gid_t group) {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
  const int count = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(count, 0)));
  return group == getegid() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

}  // namespace

OpenedFile::OpenedFile(const Directory& fileDirectory, const std::string& fileName)
    : directory(fileDirectory),
      name(fileName),
      descriptor(
          openat(directory.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)) {
  if (!descriptor.IsOpen()) {
    throw FileError("cannot be opened: " + std::generic_category().message(errno),
                    StatusCode::CannotOpen);
  }
  RequireCall(fstat(Get(), &status) == 0, "it cannot be examined");
  RequireArgument(S_ISREG(status.st_mode), "is no regular file");
}

void OpenedFile::RequireUnchanged() const {
  struct stat now {};
  struct stat named {};
  const bool isSame = fstat(Get(), &now) == 0 &&
                      fstatat(directory.Get(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                      IsSameFile(now, named) && now.st_size == status.st_size &&
                      IsSameTime(now.st_mtim, status.st_mtim);
  RequireArgument(isSame, "it was changed meanwhile");
}

bool OpenedFile::HasPendingJournal() const {
  constexpr std::string_view IDLE_MARK = "NVXIDLE1";
  const FileDescriptor journal(openat(directory.Get(), (name + JOURNAL_SUFFIX).c_str(),
                                      O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!journal.IsOpen()) {
    return errno != ENOENT && errno != ENAMETOOLONG;
  }
  return ReadStart(journal.Get(), IDLE_MARK.size()) != IDLE_MARK;
}

void OpenedFile::RequireReplaceable(nlink_t nameCount) const {
  RequireCall(faccessat(directory.Get(), name.c_str(), W_OK, AT_EACCESS) == 0,
              "it is not writable");
  RequireCall(faccessat(directory.Get(), ".", R_OK | W_OK | X_OK, AT_EACCESS) == 0,
              "its directory is not writable");
  RequireArgument(geteuid() == 0 || (geteuid() == status.st_uid && IsOwnGroup(status.st_gid)),
                  "the new file could not be given to its owner and group");
  RequireArgument(status.st_nlink <= nameCount,
                  "it has another name (hard link), which would keep the old file");
}

bool IsSameFile(const struct stat& lhs, const struct stat& rhs) {
  return lhs.st_dev == rhs.st_dev && lhs.st_ino == rhs.st_ino;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
