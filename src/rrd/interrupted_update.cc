#include "rrd/interrupted_update.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "foundation/descriptor.h"
#include "rrd/fault.h"
#include "rrd/journal.h"
#include "rrd/transfer.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

constexpr char NOT_UNDONE[] = "an interrupted update cannot be undone";

// unreached: EPERM, of files that nobody may change
bool IsPermissionMissing() { return errno == EACCES || errno == EPERM || errno == EROFS; }

// Whether the journal is whole; errno is 0 unless a call failed. A journal is at most as large as
// its file plus a header; no more than that is read.
bool ReadJournal(int fd, int journalFile, Journal& journal) {
  constexpr std::uint64_t LARGEST_HEADER = 1 << 24;
  errno = 0;
  struct stat file {};
  struct stat status {};
  if (fstat(fd, &file) != 0 || fstat(journalFile, &status) != 0) {
    return false;
  }
  const std::uint64_t size =
      std::min(static_cast<std::uint64_t>(status.st_size),
               static_cast<std::uint64_t>(file.st_size) + sizeof(JournalHead) + LARGEST_HEADER);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  return ReadAll(journalFile, bytes.data(), size, 0) && journal.Parse(std::move(bytes));
}

// An update that was undone must not be undone again after later updates, neither by a journal that
// cannot be removed nor by one that comes back with a loss of power.
bool Retire(int journalFile, const std::string& journalPath, bool mustSync) {
  const IdleHead nothing;
  const bool isVoid =
      WriteAll(journalFile, reinterpret_cast<const char*>(&nothing), sizeof nothing, 0) &&
      (!mustSync || fdatasync(journalFile) == 0);
  return (unlink(journalPath.c_str()) == 0 && !mustSync) || isVoid;
}

}  // namespace

int OpenJournal(const std::string& journalPath, int flags, mode_t mode) {
  return open(journalPath.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode);
}

const char* FindJournalFault(int fd, int journal) {
  struct stat file {};
  struct stat status {};
  if (fstat(fd, &file) != 0 || fstat(journal, &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_nlink > 1) {
    return JOURNAL_SHAPE_FAULT;
  }
  const bool isTrusted = status.st_uid == file.st_uid || status.st_uid == geteuid();
  return isTrusted ? nullptr : JOURNAL_OWNER_FAULT;
}

bool HasPendingJournal(const std::string& journalPath) {
  if (access(journalPath.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENAMETOOLONG)) {
    return false;
  }
  const Descriptor journal(OpenJournal(journalPath, O_RDONLY));
  IdleHead head;
  return !journal.IsOpen() ||
         !ReadAll(journal.Get(), reinterpret_cast<char*>(&head), sizeof head, 0) || !IsIdle(head);
}

const char* FindInterruptedUpdate(int fd, const std::string& journalPath) {
  const Descriptor file(OpenJournal(journalPath, O_RDONLY));
  if (!file.IsOpen()) {
    // unreached: a journal that is gone since it was looked for
    return errno == ENOENT         ? nullptr
           : IsPermissionMissing() ? PERMISSION_FAULT
                                   : JOURNAL_CLOSED_FAULT;
  }
  if (const char* const fault = FindJournalFault(fd, file.Get())) {
    return fault;
  }
  Journal journal;
  if (ReadJournal(fd, file.Get(), journal) && journal.Fits(fd)) {
    return PERMISSION_FAULT;
  }
  return errno == 0 ? nullptr : JOURNAL_READ_FAULT;
}

const char* UndoInterruptedUpdate(int fd, const std::string& journalPath) {
  const Descriptor file(OpenJournal(journalPath, O_RDWR));
  if (!file.IsOpen()) {
    return errno == ENOENT         ? nullptr
           : IsPermissionMissing() ? FindInterruptedUpdate(fd, journalPath)
                                   : JOURNAL_CLOSED_FAULT;
  }
  if (const char* const fault = FindJournalFault(fd, file.Get())) {
    return fault;
  }
  Journal journal;
  const bool isWhole = ReadJournal(fd, file.Get(), journal);
  if (!isWhole || !journal.Fits(fd)) {
    if (errno != 0) {
      return JOURNAL_READ_FAULT;
    }
    // Beside a file that has lost its end, which is refused, it is all that tells of the update.
    if (!isWhole || !journal.IsOfCutFile(fd)) {
      unlink(journalPath.c_str());
    }
    return nullptr;
  }
  if (!journal.Undo(fd) || (journal.MustSync() && fdatasync(fd) != 0) ||
      !Retire(file.Get(), journalPath, journal.MustSync())) {
    return NOT_UNDONE;
  }
  return nullptr;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
