#pragma once

#include <string>

#include "foundation/descriptor.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A data file, open for one operation, in which no interrupted update is left: what such a one has
// changed is undone before.
//
// Besides the RRD library's lock, which is the process's and ends with any close of the file, there
// is flock: readers share it, a transaction has it alone, from before its journal is made until
// that is gone. So a journal that is found with the lock is of a writer that is dead.
class LockedFile {
 public:
  enum class Use {
    Read,        // the lock is shared until the end
    Update,      // the lock is not kept
    Transaction  // the lock is exclusive, and the RRD library's lock for writing is held, too
  };

  LockedFile(const std::string& path, Use use);
  LockedFile(const LockedFile&) = delete;
  LockedFile& operator=(const LockedFile&) = delete;
  ~LockedFile();

  // -1 when it could not be opened.
  int Get() const { return descriptor.Get(); }

  // Why it could not be opened, an errno.
  int GetError() const { return error; }

  // Why the file must not be used; null when it may.
  const char* GetFault() const { return fault; }

  const std::string& GetJournalPath() const { return journalPath; }

 private:
  // They return the fault.
  const char* Lock(Use use);
  const char* UndoAlone();

  std::string path;  // the file's own, for the journal lies beside it, not beside a link
  std::string journalPath;
  Descriptor descriptor;
  int error;
  const char* fault = nullptr;
};

// The RRD library's lock for writing. False when another process has one.
bool LockForWriting(int fd);

}  // namespace nvx::TimeSeriesDatabase::Rrd
