#pragma once

#include <optional>
#include <string>

#include "foundation/descriptor.h"
#include "rrd/journal.h"
#include "rrd/locked_file.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// One update of a file, stored as a whole or not at all. The journal is made at the start; the
// update is complete from the moment at which the journal is no longer in force. Where that must
// survive a loss of power, the journal is overwritten and kept: this takes one sync, which is not
// enough for the removal of a name on every file system.
class Transaction {
 public:
  // `header` is the checked header of the file, which is locked for a transaction.
  Transaction(const LockedFile& lockedFile, const std::string& header, long long lastTime,
              Durability requiredDurability);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Undoes the update unless it was committed. If it cannot, the next user of the file will.
  ~Transaction();

  // Why the update must not begin; empty when it may.
  const std::string& GetFault() const { return fault; }

  // Completes the update. Returns why it is not complete, or nothing.
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
