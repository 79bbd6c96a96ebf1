#include "rrd/file_gate.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "foundation/descriptor.h"
#include "rrd/computed_source.h"
#include "rrd/file_header.h"
#include "rrd/file_information.h"
#include "rrd/prediction.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

// Most headers are smaller and are read at once.
constexpr std::size_t USUAL_HEADER = 4096;

// The RRD library takes several times a header's size in memory. Room for 70,000 data sources.
constexpr std::uint64_t LARGEST_HEADER = 1 << 24;

// In seconds. The RRD library uses an unsigned long, which has 32 bits on some machines.
constexpr unsigned long LONGEST_ARCHIVE =
    std::min<std::uint64_t>(FARTHEST_TIME, std::numeric_limits<unsigned long>::max());

// The size of a file, and the seconds between two times: the RRD library uses a long for both.
constexpr long long LARGEST = std::numeric_limits<long>::max();

constexpr long MICROSECONDS = 1000000;

constexpr char TOO_LARGE[] = "it has too many data sources or archives for a file of this machine";
constexpr char CUT_OFF[] = "its header is cut off";

// Reads from the start of the file; less than `size` only where the file ends. False when it cannot
// be read.
bool ReadStart(int fd, std::size_t size, std::string& bytes) {
  bytes.resize(size);
  const ssize_t count = pread(fd, bytes.data(), size, 0);
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return count >= 0;
}

bool IsSpanSafe(long long start, long long end) {
  return -FARTHEST_TIME <= start && start <= end && end <= FARTHEST_TIME;
}

bool IsVersionKnown(const stat_head_t& head) {
  return IsVersionOld(head) || HasVersion(head, RRD_VERSION3) || HasVersion(head, RRD_VERSION4) ||
         HasVersion(head, RRD_VERSION5);
}

const char* FindFault(const stat_head_t& head) {
  if (!IsVersionKnown(head)) {
    return "its version is unknown";
  }
  if (head.float_cookie != FLOAT_COOKIE) {
    return "it is of another machine";
  }
  if (head.ds_cnt == 0 || head.rra_cnt == 0) {
    return "it has no data source or no archive";
  }
  // Each count alone is bounded by the largest header, so that no product of them wraps.
  if (head.ds_cnt > LARGEST_HEADER / sizeof(ds_def_t) ||
      head.rra_cnt > LARGEST_HEADER / sizeof(rra_def_t)) {
    return TOO_LARGE;
  }
  if (head.pdp_step == 0 || head.pdp_step > FARTHEST_TIME) {
    return "its step is out of range";
  }
  return nullptr;
}

const char* FindSourceFault(const std::string& header, const HeaderLayout& layout,
                            unsigned long index) {
  const auto source = ReadStructure<ds_def_t>(header, layout.dataSources, index);
  const auto pending = ReadStructure<pdp_prep_t>(header, layout.pendingSteps, index);
  if (!IsTerminated(source.ds_nam) || !IsTerminated(source.dst) || !IsTerminated(pending.last_ds)) {
    return "a text of a data source does not end";
  }
  if (IsComputed(source) && !IsFormulaSafe(source, index)) {
    return "a formula of it cannot be computed";
  }
  return nullptr;
}

const char* FindArchiveFault(const std::string& header, const HeaderLayout& layout,
                             const stat_head_t& head, unsigned long index) {
  const auto archive = ReadStructure<rra_def_t>(header, layout.archives, index);
  if (!IsTerminated(archive.cf_nam)) {
    return "the name of a consolidation function does not end";
  }
  if (archive.pdp_cnt == 0 || archive.pdp_cnt > LONGEST_ARCHIVE / head.pdp_step ||
      archive.row_cnt == 0 ||
      archive.row_cnt > LONGEST_ARCHIVE / (head.pdp_step * archive.pdp_cnt)) {
    return "the times of an archive are out of range";
  }
  if (ReadStructure<rra_ptr_t>(header, layout.positions, index).cur_row >= archive.row_cnt) {
    return "the newest row of an archive lies outside it";
  }
  if (!IsPredictionSafe(header, layout, archive, head.rra_cnt)) {
    return "a prediction of it cannot be computed";
  }
  return nullptr;
}

bool HasCookie(const std::string& header) {
  return header.compare(0, sizeof RRD_COOKIE, RRD_COOKIE, sizeof RRD_COOKIE) == 0;
}

// The size according to the first numbers of the header; 0 when they make no sense.
std::uint64_t FindHeaderSize(const std::string& header) {
  if (!HasCookie(header) || header.size() < sizeof(stat_head_t)) {
    return 0;
  }
  const auto head = ReadStructure<stat_head_t>(header, 0);
  return FindFault(head) == nullptr ? HeaderLayout(head, GetLiveHeadSize(head)).end : 0;
}

bool IsLiveHeadSafe(const live_head_t& liveHead) {
  return liveHead.last_up >= 0 && liveHead.last_up <= FARTHEST_TIME && liveHead.last_up_usec >= 0 &&
         liveHead.last_up_usec < MICROSECONDS;
}

// Whether the file has all values. It may have more bytes after them.
bool HasAllValues(const std::vector<ArchiveDescription>& archives, unsigned long sourceCount,
                  std::uint64_t size) {
  std::uint64_t rowsLeft = size / sizeof(rrd_value_t) / sourceCount;
  for (const ArchiveDescription& archive : archives) {
    if (archive.rowCount > rowsLeft) {
      return false;
    }
    rowsLeft -= archive.rowCount;
  }
  return true;
}

}  // namespace

bool FileGate::Lock(int fd) {
  struct flock lock {};
  lock.l_type = F_RDLCK;
  lock.l_whence = SEEK_SET;
  // unreached: EACCES, of other systems, and what file systems without locks say
  return fcntl(fd, F_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

FileGate::FileGate(int fd) {
  if (fd != -1) {
    Read(fd);
  }
}

FileGate::FileGate(std::string fileHeader, std::uint64_t fileSize) : header(std::move(fileHeader)) {
  fault = CheckHeader(fileSize);
}

bool FileGate::IsFileLocked(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  // unreached: a lock that is gone again
  return file.IsOpen() && !Lock(file.Get());
}

// The RRD library changes a header in its place, and for a moment a row may lie outside its
// archive: what was found without the lock is found again with it.
void FileGate::Read(int fd) {
  fault = ReadFile(fd);
  if (fault == nullptr) {
    return;
  }
  fault = Lock(fd) ? ReadFile(fd) : LOCK_FAULT;
}

const char* FileGate::GetFetchFault(long long start, long long end) const {
  if (fault != nullptr) {
    return fault;
  }
  if (!IsSpanSafe(start, end)) {
    return "time window out of range";
  }
  const ArchiveDescription* const archive = description.FindArchive(start);
  if (archive == nullptr) {
    return nullptr;
  }
  // GCOVR_EXCL_START: where a long has 32 bits
  if (std::max(end, archive->lastTime) - std::min(start, archive->firstTime) > LARGEST) {
    return "the window is too far from the archive";
  }
  // GCOVR_EXCL_STOP
  const std::uint64_t rows =
      static_cast<std::uint64_t>(end - start) / (description.step * archive->stepsPerRow);
  const bool isBounded = rows <= archive->rowCount || rows <= LARGEST_FETCH / sourceCount;
  return isBounded ? nullptr : "the window is too long";
}

const char* FileGate::GetUpdateFault() const {
  if (fault != nullptr || header.empty()) {
    return fault;
  }
  const auto head = ReadStructure<stat_head_t>(header, 0);
  const HeaderLayout layout(head, GetLiveHeadSize(head));
  for (unsigned long i = 0; i < head.ds_cnt; ++i) {
    if (!IsComputed(ReadStructure<ds_def_t>(header, layout.dataSources, i))) {
      return nullptr;
    }
  }
  return "all its data sources are computed";
}

const char* FileGate::GetMigrationFault() const {
  if (fault != nullptr) {
    return fault;
  }
  const bool isRowTooLong = std::any_of(
      description.archives.begin(), description.archives.end(), [this](const auto& archive) {
        return description.step * archive.stepsPerRow > std::numeric_limits<int>::max();
      });
  return isRowTooLong ? "the rows of an archive are too long" : nullptr;
}

const char* FileGate::FindRows(unsigned long archive, unsigned long source, Rows& rows) const {
  if (fault != nullptr) {
    return fault;
  }
  if (archive >= description.archives.size() || source >= sourceCount) {
    return "it has no such archive or data source";
  }
  std::uint64_t rowsBefore = 0;
  for (unsigned long i = 0; i < archive; ++i) {
    rowsBefore += description.archives[i].rowCount;
  }
  rows.archive = &description.archives[archive];
  rows.oldest = (newestRows[archive] + 1ULL) % rows.archive->rowCount;
  rows.position = header.size() + (rowsBefore * sourceCount + source) * sizeof(rrd_value_t);
  rows.sourceCount = sourceCount;
  rows.length =
      static_cast<long long>(description.step) * static_cast<long long>(rows.archive->stepsPerRow);
  return nullptr;
}

const char* FileGate::ReadFile(int fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    return "it is no regular file";
  }
  if (status.st_size > LARGEST) {
    return "it is too large for this machine";
  }
  bool isRead = ReadStart(fd, USUAL_HEADER, header);
  const std::uint64_t size = FindHeaderSize(header);
  if (size > header.size() && size <= LARGEST_HEADER) {
    isRead = ReadStart(fd, static_cast<std::size_t>(size), header);
  }
  if (!isRead) {
    return "it cannot be read";
  }
  return CheckHeader(static_cast<std::uint64_t>(status.st_size));
}

const char* FileGate::CheckHeader(std::uint64_t fileSize) {
  if (!HasCookie(header)) {
    header.clear();
    return nullptr;
  }
  if (header.size() < sizeof(stat_head_t)) {
    return CUT_OFF;
  }
  const auto head = ReadStructure<stat_head_t>(header, 0);
  if (const char* const headFault = FindFault(head)) {
    return headFault;
  }
  const HeaderLayout layout(head, GetLiveHeadSize(head));
  if (layout.end > LARGEST_HEADER) {
    return TOO_LARGE;
  }
  if (layout.end > header.size()) {
    return CUT_OFF;
  }
  header.resize(static_cast<std::size_t>(layout.end));
  if (const char* const partFault = ReadParts(head, layout)) {
    return partFault;
  }
  const bool isWhole = layout.end <= fileSize &&
                       HasAllValues(description.archives, head.ds_cnt, fileSize - layout.end);
  return isWhole ? nullptr : CUT_OFF_FAULT;
}

const char* FileGate::ReadParts(const stat_head_t& head, const HeaderLayout& layout) {
  live_head_t liveHead{};
  std::memcpy(&liveHead, header.data() + layout.liveHead, GetLiveHeadSize(head));
  if (!IsLiveHeadSafe(liveHead)) {
    return "its last update is out of range";
  }
  sourceCount = head.ds_cnt;
  for (unsigned long i = 0; i < head.ds_cnt; ++i) {
    if (const char* const sourceFault = FindSourceFault(header, layout, i)) {
      return sourceFault;
    }
  }
  description = {};
  newestRows.clear();
  description.step = head.pdp_step;
  description.lastUpdate = liveHead.last_up;
  for (unsigned long i = 0; i < head.rra_cnt; ++i) {
    if (const char* const archiveFault = FindArchiveFault(header, layout, head, i)) {
      return archiveFault;
    }
    const auto definition = ReadStructure<rra_def_t>(header, layout.archives, i);
    ArchiveDescription& archive = description.archives.emplace_back();
    archive.consolidation = definition.cf_nam;
    archive.stepsPerRow = definition.pdp_cnt;
    archive.rowCount = definition.row_cnt;
    ComputeTimes(description, archive);
    newestRows.push_back(ReadStructure<rra_ptr_t>(header, layout.positions, i).cur_row);
  }
  return nullptr;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
