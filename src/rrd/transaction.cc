#include "rrd/transaction.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "rrd/fault.h"
#include "rrd/file_header.h"
#include "rrd/interrupted_update.h"
#include "rrd/transfer.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

std::string DescribeError(const char* problem) {
  return std::string(problem) + ": " + std::generic_category().message(errno);
}

constexpr char NOT_MADE[] = "its journal cannot be made";
constexpr char NOT_GIVEN[] = "its journal cannot be given to its owner";
constexpr char NOT_SYNCED[] = "it cannot be synced";

constexpr mode_t READ_WRITE = 0666;

// Whoever may read or write the file may do so with its journal.
bool GiveToOwner(int journal, const struct stat& file) {
  struct stat status {};
  return fstat(journal, &status) == 0 &&
         ((status.st_uid == file.st_uid && status.st_gid == file.st_gid) ||
          fchown(journal, file.st_uid, file.st_gid) == 0) &&
         ((status.st_mode & READ_WRITE) == (file.st_mode & READ_WRITE) ||
          fchmod(journal, file.st_mode & READ_WRITE) == 0);
}

}  // namespace

Transaction::Transaction(const LockedFile& lockedFile, const std::string& header,
                         long long lastTime, Durability requiredDurability)
    : file(lockedFile), durability(requiredDurability), fault(Begin(header, lastTime)) {
  isEnded = !fault.empty();
  if (isEnded && isNew) {
    unlink(file.GetJournalPath().c_str());
  }
}

Transaction::~Transaction() {
  if (isEnded) {
    return;
  }
  try {
    Undo();
  } catch (...) {  // the journal stays, for who opens the file next
  }
}

std::string Transaction::Begin(const std::string& header, long long lastTime) {
  if (!journal.Copy(file.Get(), header, lastTime, durability)) {
    return DescribeError("it cannot be copied to its journal");
  }
  std::string problem = OpenJournalFile();
  if (!problem.empty()) {
    return problem;
  }
  const bool mustSync = durability == Durability::Power;
  isSynced = !isNew && kept.fingerprint == MakeIdleHead(header).fingerprint;
  // The journal does not have the changes of earlier updates that were not synced.
  if (mustSync && !isSynced && fdatasync(file.Get()) != 0) {
    return DescribeError(NOT_SYNCED);
  }
  const std::string& bytes = journal.GetBytes();
  if (!WriteAll(journalFile->Get(), bytes.data(), bytes.size(), 0) ||
      (mustSync && fdatasync(journalFile->Get()) != 0)) {
    problem = DescribeError(NOT_MADE);
    MakeIdle();
    return problem;
  }
  if (!mustSync || !isNew) {
    return "";
  }
  return SyncDirectory();
}

std::string Transaction::OpenJournalFile() {
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) {
    return DescribeError(NOT_MADE);
  }
  const mode_t mode = status.st_mode & READ_WRITE;
  journalFile.emplace(OpenJournal(file.GetJournalPath(), O_RDWR | O_CREAT | O_EXCL, mode));
  isNew = journalFile->IsOpen();
  if (isNew) {
    return GiveToOwner(journalFile->Get(), status) ? "" : DescribeError(NOT_GIVEN);
  }
  return errno == EEXIST ? OpenKeptJournal() : DescribeError(NOT_MADE);
}

std::string Transaction::OpenKeptJournal() {
  journalFile.emplace(OpenJournal(file.GetJournalPath(), O_RDWR));
  if (!journalFile->IsOpen()) {
    return DescribeError(JOURNAL_CLOSED_FAULT);
  }
  if (const char* const journalFault = FindJournalFault(file.Get(), journalFile->Get())) {
    return journalFault;
  }
  const bool isRead = ReadAll(journalFile->Get(), reinterpret_cast<char*>(&kept), sizeof kept, 0);
  return isRead && IsIdle(kept) ? "" : "its old journal cannot be removed";
}

std::string Transaction::SyncDirectory() const {
  const std::string& path = file.GetJournalPath();
  const std::string name = path.substr(0, path.rfind('/') + 1) + '.';
  const Descriptor directory(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return directory.IsOpen() && fsync(directory.Get()) == 0
             ? ""
             : DescribeError("its directory cannot be synced");
}

std::string Transaction::Commit() {
  const bool mustSync = durability == Durability::Power;
  isSynced = mustSync;
  if ((!mustSync || fdatasync(file.Get()) == 0) && End()) {
    return "";
  }
  std::string problem = DescribeError(NOT_SYNCED);
  // Puts the journal in force again, for the end of this transaction or for the next user of the
  // file.
  isSynced = false;
  WriteAll(journalFile->Get(), journal.GetBytes().data(), sizeof(JournalHead), 0);
  return problem;
}

bool Transaction::End() {
  const bool isKept = durability == Durability::Power || !isNew;
  isEnded = (!isKept && unlink(file.GetJournalPath().c_str()) == 0) || MakeIdle();
  return isEnded;
}

bool Transaction::MakeIdle() const {
  std::string header;
  if (isSynced) {
    header.resize(journal.GetHeaderSize());
    if (!ReadAll(file.Get(), header.data(), header.size(), 0)) {
      return false;
    }
  }
  const IdleHead idle = MakeIdleHead(header);
  return WriteAll(journalFile->Get(), reinterpret_cast<const char*>(&idle), sizeof idle, 0) &&
         (durability == Durability::Process || fdatasync(journalFile->Get()) == 0);
}

void Transaction::Undo() {
  using namespace std::chrono_literals;
  constexpr int TRIES = 100;
  // The RRD library's close has released its lock, and a reader may have come.
  for (int i = 0; !LockForWriting(file.Get()); ++i) {
    if (i == TRIES) {
      return;
    }
    std::this_thread::sleep_for(1ms);
  }
  errno = 0;
  const bool isMine = journal.Fits(file.Get());
  if (errno != 0) {
    return;  // that could not be seen
  }
  // unreached: another file that has taken this one's place
  const bool isUndone = !isMine || journal.IsUndone(file.Get());
  if (isUndone || (journal.Undo(file.Get()) &&
                   (durability == Durability::Process || fdatasync(file.Get()) == 0))) {
    End();
  }
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
