#include "push/state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "base/command_error.h"
#include "replace/file_error.h"
#include "replace/opened_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

std::string FindFreeName(const std::string& path) {
  std::string name = path + ".damaged";
  std::error_code error;
  for (int number = 2; fs::exists(fs::symlink_status(name, error)); ++number) {
    name = path + ".damaged-" + std::to_string(number);
  }
  return name;
}

FileDescriptor Open(const std::string& path) {
  FileDescriptor opened(
      open(path.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, S_IRUSR | S_IWUSR));
  RequireCall(opened.IsOpen(), "it cannot be opened");
  return opened;
}

// Some file systems have no locks.
void Lock(const FileDescriptor& opened, const std::string& path) {
  if (flock(opened.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw CommandError(path, "another push uses it", StatusCode::Unavailable);
  }
}

// Whether the path still names the open file, and not one that took its place.
bool IsAt(const struct stat& opened, const std::string& path) {
  struct stat named {};
  return stat(path.c_str(), &named) == 0 && IsSameFile(opened, named);
}

FileDescriptor OpenAndLock(const std::string& path) {
  for (;;) {
    FileDescriptor opened = Open(path);
    struct stat status {};
    RequireCall(fstat(opened.Get(), &status) == 0, "it cannot be examined");
    RequireArgument(S_ISREG(status.st_mode), "it is no regular file");
    Lock(opened, path);
    if (IsAt(status, path)) {
      fchmod(opened.Get(), S_IRUSR | S_IWUSR);  // whoever can open it can lock it
      return opened;
    }
  }
}

}  // namespace

StateFile::StateFile(const std::string& path) : descriptor(OpenAndLock(path)) {}

std::string StateFile::GetPath() const {
  std::error_code error;
  const fs::path path = fs::read_symlink(descriptor.GetPath(), error);
  RequireCall(!error, "its path cannot be found");
  return path;
}

std::string SetStateAside(const std::string& path) {
  std::string name = FindFreeName(path);
  for (const char* const suffix : {"-journal", "-wal", "-shm"}) {
    std::rename((path + suffix).c_str(), (name + suffix).c_str());  // there may be none
  }
  RequireCall(std::rename(path.c_str(), name.c_str()) == 0, "it cannot be renamed");
  return name;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
