#pragma once

#include <optional>
#include <string>

#include "foundation/descriptor.h"
#include "rrd/journal.h"
#include "rrd/locked_file.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// One update of a file that is there as a whole or not at all. The journal is made at the start;
// the update counts from the moment at which the journal does not count any more. Where that must
// survive a loss of power, the journal is kept and overwritten: that is one sync, which the removal
// of a name is not on every file system.
class Transaction {
 public:
  // `header` is the checked header of the file, which is locked for a transaction.
  Transaction(const LockedFile& lockedFile, const std::string& header, long long lastTime,
              Durability requiredDurability);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Undoes the update unless it was committed. Where it cannot, who opens the file next will.
  ~Transaction();

  // Why the update must not begin; empty when it may.
  const std::string& GetFault() const { return fault; }

  // Why the update does not count; empty when it does.
  std::string Commit();

 private:
  // They return the fault.
  std::string Begin(const std::string& header, long long lastTime);
  std::string OpenJournalFile();
  std::string OpenKeptJournal();
  std::string SyncDirectory() const;

  bool End();
  bool MakeIdle() const;
  void Undo();

  const LockedFile& file;
  Durability durability;
  Journal journal;
  std::optional<Descriptor> journalFile;
  IdleHead kept;
  bool isNew = false;     // the journal was made here
  bool isSynced = false;  // all of the file is on the disk since the last kept journal
  bool isEnded = true;
  std::string fault;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
