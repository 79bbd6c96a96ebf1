#include "replace/locked_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "base/command_error.h"
#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view TEMPORARY_PREFIX = ".nvx-convert-";
constexpr std::string_view TEMPORARY_PATTERN = "XXXXXX";

constexpr std::size_t EMPTY_SIZE = 2;  // "." and ".."

FileDescriptor OpenDirectory(int parent, const char* name) {
  return FileDescriptor(openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Needs no memory of its own, so that what is left can be removed when there is none.
template <typename Work>
void ForEachName(int directory, const Work& work) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(
      fdopendir(OpenDirectory(directory, ".").Release()), closedir);
  if (stream == nullptr) {
    return;
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): of a stream that nobody else has
  while (const dirent* const entry = readdir(stream.get())) {
    work(entry->d_name);
  }
}

std::size_t CountNames(int directory) {
  std::size_t count = 0;
  ForEachName(directory, [&count](const char* /*name*/) { ++count; });
  return count;
}

void RemoveDirectory(int parent, const char* name, const FileDescriptor& directory) {
  ForEachName(directory.Get(),
              [&directory](const char* entry) { unlinkat(directory.Get(), entry, 0); });
  unlinkat(parent, name, AT_REMOVEDIR);
}

// Whether it belongs to the caller and nobody else has any of these rights.
bool IsOwn(int directory, mode_t rights) {
  struct stat status {};
  return fstat(directory, &status) == 0 && status.st_uid == geteuid() &&
         (status.st_mode & rights) == 0;
}

// Anything that cannot be removed stays; it takes space but does no harm.
void RemoveLeftovers(int directory) {
  ForEachName(directory, [directory](const char* name) {
    if (!IsTemporaryName(name)) {
      return;
    }
    const FileDescriptor left = OpenDirectory(directory, name);
    if (left.IsOpen()) {
      RemoveDirectory(directory, name, left);
    }
  });
}

// False when the file system has no locks.
bool Lock(const Directory& directory, int fd, std::chrono::milliseconds patience) {
  bool isTold = false;
  bool hasLocks = true;
  const auto lock = [&] {
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
      return true;
    }
    hasLocks = errno == EWOULDBLOCK;
    if (hasLocks && !std::exchange(isTold, true)) {
      PrintMessage(directory.GetPath() + ": waiting for another process that replaces files in it");
    }
    return !hasLocks;
  };
  if (!Retry(patience, 50ms, lock)) {
    throw FileError("another process still replaces files in its directory", StatusCode::IoError);
  }
  return hasLocks;
}

}  // namespace

LockedDirectory::LockedDirectory(const Directory& lockedDirectory,
                                 std::chrono::milliseconds patience)
    : directory(lockedDirectory), lock(OpenDirectory(directory.Get(), ".")) {
  RequireCall(lock.IsOpen(), "the directory cannot be opened");
  if (Lock(directory, lock.Get(), patience) && IsOwn(lock.Get(), S_IWGRP | S_IWOTH)) {
    RemoveLeftovers(directory.Get());
  }
}

LockedDirectory::~LockedDirectory() {
  if (!privateName.empty()) {
    RemoveDirectory(directory.Get(), privateName.c_str(), privateDirectory);
  }
}

const FileDescriptor& LockedDirectory::GetPrivateDirectory() {
  if (privateDirectory.IsOpen()) {
    return privateDirectory;
  }
  std::string pattern = directory.GetDescriptorPath() + "/";
  pattern.append(TEMPORARY_PREFIX).append(TEMPORARY_PATTERN);
  privateName.reserve(pattern.size());
  RequireCall(mkdtemp(pattern.data()) != nullptr, "no temporary directory can be made beside it");
  privateName.assign(pattern, pattern.rfind('/') + 1);
  FileDescriptor made = OpenDirectory(directory.Get(), privateName.c_str());
  RequireCall(made.IsOpen(), "its temporary directory cannot be opened");
  RequireArgument(IsOwn(made.Get(), S_IRWXG | S_IRWXO) && CountNames(made.Get()) == EMPTY_SIZE,
                  "its temporary directory was exchanged");
  privateDirectory = std::move(made);
  return privateDirectory;
}

bool IsTemporaryName(const std::string& name) {
  const std::string_view all = name;
  if (all.size() != TEMPORARY_PREFIX.size() + TEMPORARY_PATTERN.size() ||
      all.substr(0, TEMPORARY_PREFIX.size()) != TEMPORARY_PREFIX) {
    return false;
  }
  const std::string_view rest = all.substr(TEMPORARY_PREFIX.size());
  return std::all_of(rest.begin(), rest.end(),
                     [](unsigned char letter) { return std::isalnum(letter) != 0; });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
