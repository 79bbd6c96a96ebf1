#pragma once

#include <string>

#include "foundation/descriptor.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A data file, open for one operation. An interrupted update of it is undone first.
//
// The RRD library's lock belongs to the process and ends with any close of the file. So there is
// flock, too: readers share it; a transaction holds it alone, from before its journal is made until
// after it is removed. Whoever has the lock and finds a journal knows that its writer is dead.
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

  std::string path;  // the file's own: the journal lies beside it, not beside a link
  std::string journalPath;
  Descriptor descriptor;
  int error;
  const char* fault = nullptr;
};

// Takes the RRD library's lock for writing. False when another process has a lock.
bool LockForWriting(int fd);

}  // namespace nvx::TimeSeriesDatabase::Rrd
