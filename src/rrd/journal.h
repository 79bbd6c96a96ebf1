#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "rrd/update_reach.h"
#include "timeseries/rrd/durability.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// A file that a journal belongs to, however it is named. The time of birth, 0 where the file system
// keeps none, tells a file from an earlier one with the same number.
struct FileIdentity {
  std::uint64_t size = 0;
  std::uint64_t inode = 0;
  std::int64_t birthSeconds = 0;
  std::int64_t birthNanoseconds = 0;
};

// False when the file cannot be examined.
bool ReadIdentity(int fd, FileIdentity& identity);

// The head of a journal. The numbers are of the machine, as those of the data file are.
struct JournalHead {
  std::uint64_t mark = 0;
  std::uint64_t checksum = 0;  // of all that follows
  std::uint64_t size = 0;      // of the whole journal
  std::uint64_t headerSize = 0;
  std::int64_t lastTime = 0;
  std::uint64_t mustSync = 0;
  FileIdentity file;
};

// The content of a rollback journal: what an update may change in a file, as it was before. A head,
// the header of the file, and the rows that are in the update's reach.
class Journal {
 public:
  // Copies what an update with samples up to `lastTime` may change in the open file, whose checked
  // header is `header`. False when it cannot be read.
  bool Copy(int fd, const std::string& header, long long lastTime, Durability durability);

  // Takes the bytes of a journal. False when they are no whole one, whatever they are.
  bool Parse(std::string journalBytes);

  // Whether the open file is the one that the journal belongs to, as the update may have left it.
  bool Fits(int fd) const;

  // Whether the file is as it was before the update.
  bool IsUndone(int fd) const;

  // Puts the file back. False when it cannot be written.
  bool Undo(int fd) const;

  bool MustSync() const { return head.mustSync != 0; }
  std::size_t GetHeaderSize() const { return header.size(); }
  const std::string& GetBytes() const { return bytes; }

 private:
  std::uint64_t FindSize() const;

  JournalHead head;
  std::string header;
  std::vector<Extent> extents;
  std::string bytes;
};

// What a kept journal begins with between two updates, and what shows whether the file is still the
// one that was synced then.
struct IdleHead {
  std::uint64_t mark = 0;
  std::uint64_t fingerprint = 0;
};

IdleHead MakeIdleHead(const std::string& header);
bool IsIdle(const IdleHead& head);

// Reads or writes all of the bytes, or returns false.
bool ReadAll(int fd, char* data, std::uint64_t size, std::uint64_t offset);
bool WriteAll(int fd, const char* data, std::uint64_t size, std::uint64_t offset);

}  // namespace nvx::TimeSeriesDatabase::Rrd
