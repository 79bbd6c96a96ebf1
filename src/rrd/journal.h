#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "rrd/update_reach.h"
#include "timeseries/rrd/durability.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Identifies the file that a journal belongs to, whatever its name. The time of birth, 0 where the
// file system has none, distinguishes a file from an earlier one with the same inode.
struct FileIdentity {
  std::uint64_t size = 0;
  std::uint64_t inode = 0;
  std::int64_t birthSeconds = 0;
  std::int64_t birthNanoseconds = 0;
};

// False when the file cannot be examined.
bool ReadIdentity(int fd, FileIdentity& identity);

// The head of a journal. Its numbers have the machine's byte order, like those of the data file.
struct JournalHead {
  std::uint64_t mark = 0;
  std::uint64_t checksum = 0;  // of all that follows
  std::uint64_t size = 0;      // of the whole journal
  std::uint64_t headerSize = 0;
  std::int64_t lastTime = 0;
  std::uint64_t mustSync = 0;
  FileIdentity file;
  std::uint64_t rowsBefore = 0;  // their checksum
};

// The content of a rollback journal: everything that an update may change in a file, as it was
// before: a head, the header of the file, and the rows that the update may fill.
class Journal {
 public:
  // Copies what an update with samples up to `lastTime` may change in the open file, whose checked
  // header is `header`. False when it cannot be read.
  bool Copy(int fd, const std::string& header, long long lastTime, Durability durability);

  // Takes the bytes of a journal, which may be anything. False when they are not a whole journal.
  bool Parse(std::string journalBytes);

  // Whether the open file is the one that the journal belongs to, as the update may have left it.
  // Another one that was written over it has other rows before the update.
  bool Fits(int fd) const;

  // Whether the open file is that one and has lost its end, or cannot be read to see it.
  bool IsOfCutFile(int fd) const;

  // Whether the file is as it was before the update.
  bool IsUndone(int fd) const;

  // Puts the file back. False when it cannot be written.
  bool Undo(int fd) const;

  bool MustSync() const { return head.mustSync != 0; }
  std::size_t GetHeaderSize() const { return header.size(); }
  const std::string& GetBytes() const { return bytes; }

 private:
  std::uint64_t FindSize() const;
  bool ReadRowsBefore(int fd, std::uint64_t& checksum) const;

  JournalHead head;
  std::string header;
  std::vector<Extent> extents;
  std::string bytes;
};

// The head of a journal between two updates. The fingerprint shows whether the file is still as it
// was when it was synced.
struct IdleHead {
  std::uint64_t mark = 0;
  std::uint64_t fingerprint = 0;
};

IdleHead MakeIdleHead(const std::string& header);
bool IsIdle(const IdleHead& head);

}  // namespace nvx::TimeSeriesDatabase::Rrd
