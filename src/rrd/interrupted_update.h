#pragma once

#include <sys/types.h>

#include <string>

namespace nvx::TimeSeriesDatabase::Rrd {

// The journal of "x.rrd" is "x.rrd-journal".
inline constexpr char JOURNAL_SUFFIX[] = "-journal";

// Opened as nobody else's file can be: no link, no device. -1, with errno, when it cannot be.
int OpenJournal(const std::string& journalPath, int flags, mode_t mode = 0);

// Why what is open there must not be taken for the journal of the open file; null when it may.
const char* FindJournalFault(int fd, int journal);

// Whether a file has a journal other than one that is kept between two updates.
bool HasPendingJournal(const std::string& journalPath);

// For who may not write: a fault when there is an update to be undone.
const char* FindInterruptedUpdate(int fd, const std::string& journalPath);

// Puts the open file back to what it was before an update that did not end, and removes the
// journal, whatever it is. The caller has both locks of the file. It returns the fault.
const char* UndoInterruptedUpdate(int fd, const std::string& journalPath);

}  // namespace nvx::TimeSeriesDatabase::Rrd
