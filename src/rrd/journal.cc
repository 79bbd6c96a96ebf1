#include "rrd/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "rrd/checksum.h"
#include "rrd/file_gate.h"
#include "rrd/transfer.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

// "NVXUNDO1" and "NVXIDLE1" in a file of a little-endian machine.
constexpr std::uint64_t UNDO_MARK = 0x314F444E5558564E;
constexpr std::uint64_t IDLE_MARK = 0x31454C444958564E;

constexpr std::size_t CHECKED = offsetof(JournalHead, size);

bool IsSameFile(const FileIdentity& lhs, const FileIdentity& rhs) {
  // unreached: an inode that another file was given
  return lhs.inode == rhs.inode && lhs.birthSeconds == rhs.birthSeconds &&
         lhs.birthNanoseconds == rhs.birthNanoseconds;
}

std::uint64_t AddSizes(const std::vector<Extent>& extents) {
  std::uint64_t size = 0;
  for (const Extent& extent : extents) {
    size += extent.size;
  }
  return size;
}

// Reads the parts of the file one behind the other.
bool ReadExtents(int fd, const std::vector<Extent>& extents, char* target) {
  for (const Extent& extent : extents) {
    if (!ReadAll(fd, target, extent.size, extent.offset)) {
      return false;
    }
    target += extent.size;
  }
  return true;
}

}  // namespace

bool ReadIdentity(int fd, FileIdentity& identity) {
  struct statx status {};
  if (statx(fd, "", AT_EMPTY_PATH, STATX_SIZE | STATX_INO | STATX_BTIME, &status) != 0) {
    return false;
  }
  identity = {status.stx_size, status.stx_ino, 0, 0};
  // unreached: a file system without times of birth
  if ((status.stx_mask & STATX_BTIME) != 0) {
    identity.birthSeconds = status.stx_btime.tv_sec;
    identity.birthNanoseconds = status.stx_btime.tv_nsec;
  }
  return true;
}

bool Journal::Copy(int fd, const std::string& fileHeader, long long lastTime,
                   Durability durability) {
  header = fileHeader;
  extents = FindReach(header, lastTime);
  head.lastTime = lastTime;
  if (!ReadIdentity(fd, head.file) || !ReadRowsBefore(fd, head.rowsBefore)) {
    return false;
  }
  head.mark = UNDO_MARK;
  head.headerSize = header.size();
  head.mustSync = durability == Durability::Power ? 1 : 0;
  head.size = FindSize();
  bytes.resize(static_cast<std::size_t>(head.size));
  std::memcpy(bytes.data() + sizeof head, header.data(), header.size());
  if (!ReadExtents(fd, extents, bytes.data() + sizeof head + header.size())) {
    return false;
  }
  std::memcpy(bytes.data(), &head, sizeof head);
  head.checksum = ComputeChecksum(std::string_view(bytes).substr(CHECKED));
  std::memcpy(bytes.data(), &head, sizeof head);
  return true;
}

bool Journal::Parse(std::string journalBytes) {
  bytes = std::move(journalBytes);
  if (bytes.size() < sizeof head) {
    return false;
  }
  std::memcpy(&head, bytes.data(), sizeof head);
  const std::uint64_t room = bytes.size() - sizeof head;
  if (head.mark != UNDO_MARK || head.size > bytes.size() || head.headerSize > room ||
      head.size < sizeof head) {
    return false;
  }
  bytes.resize(static_cast<std::size_t>(head.size));
  if (head.checksum != ComputeChecksum(std::string_view(bytes).substr(CHECKED))) {
    return false;
  }
  const FileGate gate(bytes.substr(sizeof head, static_cast<std::size_t>(head.headerSize)),
                      head.file.size);
  header = gate.GetHeader();
  if (gate.GetFault() != nullptr || header.empty() || header.size() != head.headerSize) {
    return false;
  }
  extents = FindReach(header, head.lastTime);
  // The end of the header comes again, as the first extent; the former is what was looked at.
  const auto end = static_cast<std::size_t>(extents.front().offset);
  return head.size == FindSize() &&
         header.compare(end, std::string::npos, bytes, sizeof head + header.size(),
                        header.size() - end) == 0;
}

bool Journal::Fits(int fd) const {
  FileIdentity identity;
  std::uint64_t rowsBefore = 0;
  std::string now(header.size(), '\0');
  return ReadIdentity(fd, identity) && IsSameFile(identity, head.file) &&
         identity.size == head.file.size && ReadAll(fd, now.data(), now.size(), 0) &&
         IsWithinReach(header, head.lastTime, now) && ReadRowsBefore(fd, rowsBefore) &&
         rowsBefore == head.rowsBefore;
}

bool Journal::IsOfCutFile(int fd) const {
  FileIdentity identity;
  if (!ReadIdentity(fd, identity)) {
    return true;  // that cannot be seen now
  }
  if (!IsSameFile(identity, head.file) || identity.size >= head.file.size) {
    return false;
  }
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(identity.size, header.size()));
  std::string now(size, '\0');
  if (!ReadAll(fd, now.data(), size, 0)) {
    return true;
  }
  // What is smaller may also be another file, written over this one.
  const std::size_t part = std::min(size, sizeof(stat_head_t));
  return size == header.size() ? IsWithinReach(header, head.lastTime, now)
                               : now.compare(0, part, header, 0, part) == 0;
}

bool Journal::IsUndone(int fd) const {
  const char* former = bytes.data() + sizeof head + header.size();
  std::string now;
  for (const Extent& extent : extents) {
    now.resize(static_cast<std::size_t>(extent.size));
    if (!ReadAll(fd, now.data(), extent.size, extent.offset) ||
        std::memcmp(now.data(), former, now.size()) != 0) {
      return false;
    }
    former += extent.size;
  }
  return true;
}

bool Journal::Undo(int fd) const {
  const char* former = bytes.data() + sizeof head + header.size();
  for (const Extent& extent : extents) {
    if (!WriteAll(fd, former, extent.size, extent.offset)) {
      return false;
    }
    former += extent.size;
  }
  return true;
}

bool Journal::ReadRowsBefore(int fd, std::uint64_t& checksum) const {
  const std::vector<Extent> parts = FindRowsBefore(header, head.lastTime);
  std::string rows(static_cast<std::size_t>(AddSizes(parts)), '\0');
  if (!ReadExtents(fd, parts, rows.data())) {
    return false;
  }
  checksum = ComputeChecksum(rows);
  return true;
}

std::uint64_t Journal::FindSize() const { return sizeof head + header.size() + AddSizes(extents); }

IdleHead MakeIdleHead(const std::string& header) { return {IDLE_MARK, ComputeChecksum(header)}; }

bool IsIdle(const IdleHead& head) { return head.mark == IDLE_MARK; }

}  // namespace nvx::TimeSeriesDatabase::Rrd
