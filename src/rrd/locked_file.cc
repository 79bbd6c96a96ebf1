#include "rrd/locked_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "rrd/file_gate.h"
#include "rrd/interrupted_update.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

constexpr int OPEN_FLAGS = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// Without such locks a file system has no transactions either.
bool ShareLock(int fd) { return flock(fd, LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

bool TakeLock(int fd) { return flock(fd, LOCK_EX | LOCK_NB) == 0; }

bool IsNamed(const std::string& path, int fd) {
  struct stat opened {};
  struct stat named {};
  // unreached: a file of the same number on another file system
  return fstat(fd, &opened) == 0 && lstat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

// Takes the path of the file itself in place of a link's. A file without a path, such as one that
// was removed since it was opened, has no journal and can only be read.
int Open(std::string& path, LockedFile::Use use) {
  const int mode = use == LockedFile::Use::Transaction ? O_RDWR : O_RDONLY;
  const int fd = open(path.c_str(), mode | OPEN_FLAGS | O_NOFOLLOW);
  if (fd != -1 || errno != ELOOP) {
    return fd;
  }
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved) != nullptr) {
    path = resolved;
    return open(path.c_str(), mode | OPEN_FLAGS | O_NOFOLLOW);
  }
  return use == LockedFile::Use::Transaction ? -1 : open(path.c_str(), mode | OPEN_FLAGS);
}

}  // namespace

bool LockForWriting(int fd) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return fcntl(fd, F_SETLK, &lock) == 0;
}

LockedFile::LockedFile(const std::string& filePath, Use use)
    : path(filePath), descriptor(Open(path, use)), error(errno) {
  journalPath.reserve(path.size() + sizeof JOURNAL_SUFFIX);
  journalPath.append(path).append(JOURNAL_SUFFIX);
  if (descriptor.IsOpen()) {
    fault = Lock(use);
  }
}

LockedFile::~LockedFile() {
  // A child process may have inherited the descriptor and would keep the lock.
  if (descriptor.IsOpen()) {
    flock(descriptor.Get(), LOCK_UN);
  }
}

const char* LockedFile::Lock(Use use) {
  const int fd = descriptor.Get();
  if (use == Use::Transaction) {
    if (!TakeLock(fd) || !IsNamed(path, fd) || !LockForWriting(fd)) {
      return LOCK_FAULT;
    }
    return HasPendingJournal(journalPath) ? UndoInterruptedUpdate(fd, journalPath) : nullptr;
  }
  if (!ShareLock(fd)) {
    return LOCK_FAULT;
  }
  if (HasPendingJournal(journalPath)) {
    if (const char* const undoFault = UndoAlone()) {
      return undoFault;
    }
  }
  if (use == Use::Update) {
    flock(fd, LOCK_UN);
  }
  return nullptr;
}

const char* LockedFile::UndoAlone() {
  const int fd = descriptor.Get();
  const Descriptor writable(open(path.c_str(), O_RDWR | OPEN_FLAGS | O_NOFOLLOW));
  if (!writable.IsOpen()) {
    return FindInterruptedUpdate(fd, journalPath);
  }
  // If two readers both kept the shared lock, they would wait for each other.
  flock(fd, LOCK_UN);
  if (!TakeLock(fd) || !IsNamed(path, fd) || !IsNamed(path, writable.Get()) ||
      !LockForWriting(writable.Get())) {
    return LOCK_FAULT;
  }
  const char* const undoFault = UndoInterruptedUpdate(writable.Get(), journalPath);
  // The lock stays exclusive: while it was changed back to a shared one, a writer could come and
  // die.
  return undoFault;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
