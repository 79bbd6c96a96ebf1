#include "files/file_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "files/file_error.h"
#include "output/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view TEMPORARY_PREFIX = ".nvx-convert-";
constexpr std::string_view TEMPORARY_PATTERN = "XXXXXX";

bool IsTemporaryName(std::string_view name) {
  if (name.size() != TEMPORARY_PREFIX.size() + TEMPORARY_PATTERN.size() ||
      name.substr(0, TEMPORARY_PREFIX.size()) != TEMPORARY_PREFIX) {
    return false;
  }
  const std::string_view rest = name.substr(TEMPORARY_PREFIX.size());
  return std::all_of(rest.begin(), rest.end(),
                     [](unsigned char letter) { return std::isalnum(letter) != 0; });
}

// What cannot be removed stays; it takes space and does no harm.
void RemoveTemporaryFiles(const std::string& directory) {
  std::error_code error;
  fs::directory_iterator entry(directory, error);
  while (!error && entry != fs::directory_iterator()) {
    if (IsTemporaryName(entry->path().filename().native())) {
      unlink(entry->path().c_str());
    }
    entry.increment(error);
  }
}

}  // namespace

LockedDirectory::LockedDirectory(const std::string& directoryPath)
    : fd(open(directoryPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  RequireCall(fd >= 0, "the directory cannot be opened");
  int locked = flock(fd, LOCK_EX | LOCK_NB);
  if (locked != 0 && errno == EWOULDBLOCK) {
    PrintMessage(directoryPath + ": waiting for another conversion");
    locked = flock(fd, LOCK_EX);
  }
  if (locked == 0) {
    RemoveTemporaryFiles(directoryPath);
  }
}

LockedDirectory::~LockedDirectory() { close(fd); }

void LockedDirectory::Sync() const {
  // Some file systems have nothing to sync in a directory.
  RequireCall(fsync(fd) == 0 || errno == EINVAL, "the directory cannot be synced");
}

FileReplacement::FileReplacement(const std::string& targetPath) : target(targetPath) {
  temporaryPath =
      fs::path(target).parent_path() / std::string(TEMPORARY_PREFIX).append(TEMPORARY_PATTERN);
  fd = mkostemp(temporaryPath.data(), O_CLOEXEC);
  RequireCall(fd >= 0, "no temporary file can be made beside it");
}

FileReplacement::~FileReplacement() {
  if (!temporaryPath.empty()) {
    unlink(temporaryPath.c_str());
  }
  close(fd);
}

void FileReplacement::SetMode(mode_t mode) const {
  constexpr mode_t ALL_BITS = 07777;
  RequireCall(fchmod(fd, mode & ALL_BITS) == 0, "its mode cannot be set");
}

void FileReplacement::SetOwnerAndMode(const struct stat& other) const {
  RequireCall(fchown(fd, other.st_uid, other.st_gid) == 0, "its owner cannot be kept");
  SetMode(other.st_mode);  // after the owner, whose change clears bits
}

void FileReplacement::SetTimes(const struct stat& other) const {
  const struct timespec times[] = {other.st_atim, other.st_mtim};
  RequireCall(futimens(fd, times) == 0, "its modification time cannot be kept");
}

void FileReplacement::Sync() const { RequireCall(fsync(fd) == 0, "it cannot be synced"); }

void FileReplacement::PutInPlace() {
  RequireCall(rename(temporaryPath.c_str(), target.c_str()) == 0, "it cannot be replaced");
  temporaryPath.clear();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
