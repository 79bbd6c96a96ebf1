#pragma once

#include <sys/types.h>

#include <string>

namespace nvx::TimeSeriesDatabase::Rrd {

// The journal of "x.rrd" is "x.rrd-journal".
inline constexpr char JOURNAL_SUFFIX[] = "-journal";

// Opens a journal, but no link and no device. -1, with errno, when it cannot be opened.
int OpenJournal(const std::string& journalPath, int flags, mode_t mode = 0);

// Why the file that is open as the journal must not be used for the open data file; null when it
// may.
const char* FindJournalFault(int fd, int journal);

// Whether a file has a journal that is not idle.
bool HasPendingJournal(const std::string& journalPath);

// For a process that may not write: a fault when an update has to be undone.
const char* FindInterruptedUpdate(int fd, const std::string& journalPath);

// Puts the open file back to its state before an interrupted update, and removes the journal,
// whatever is in it. The caller must have both locks of the file. Returns the fault.
const char* UndoInterruptedUpdate(int fd, const std::string& journalPath);

}  // namespace nvx::TimeSeriesDatabase::Rrd
