#include "timeseries/rrd/tool/header_converter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "foundation/log.h"
#include "tools/rrd_layout.h"
#include "tools/writeback.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::Tool::HeaderConverter";

constexpr std::uint64_t MAX_SIZE = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t CHUNK_SIZE = 65536;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename Type>
using Buffer = std::unique_ptr<Type, Free>;

// What went wrong in the last system call.
const char* ErrorText() {
  return std::strerror(errno);  // NOLINT(concurrency-mt-unsafe): of the thread, in glibc and musl
}

// Keeps why a read or a write failed. One that was merely too short has no error.
void KeepTransferFailure(const char* what, const char* path = "") {
  const bool isShort = errno == 0;
  KeepFailure("%s%s%s%s", what, path, isShort ? "" : ": ", isShort ? "" : ErrorText());
}

// Whether exactly `size` bytes were read. A short read is not a system error, and errno is 0.
bool ReadAt(int fd, void* buffer, std::uint32_t size, std::uint32_t offset) {
  errno = 0;
  return pread64(fd, buffer, size, offset) == static_cast<ssize_t>(size);
}

// The live head's offset fits into 32 bits, which bounds both counts: the sum cannot wrap.
bool IsHeaderSizeIn32Bits(std::uint32_t dsCount, std::uint32_t rraCount) {
  return LiveHeadOffset(dsCount, rraCount) <= MAX_SIZE &&
         HeaderSize<live_head_t>(dsCount, rraCount) <= MAX_SIZE;
}

bool IsDataSizeIn32Bits(std::uint32_t dsCount, std::uint64_t rowCount) {
  return dsCount == 0 || rowCount <= MAX_SIZE / VALUE_SIZE / dsCount;
}

bool IsFile(int fd, const std::string& path) {
  struct stat64 opened {};
  struct stat64 named {};
  return fstat64(fd, &opened) == 0 && stat64(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

HeaderConverter::HeaderConverter(const std::string& source, const std::string& destination)
    : sourcePath(source), destinationPath(destination) {}

HeaderConverter::~HeaderConverter() {
  if (sourceFd >= 0) {
    close(sourceFd);
  }
  if (destinationFd >= 0) {
    close(destinationFd);
  }
  std::free(newHeader);
}

StatusCode HeaderConverter::Convert() {
  NVX_TRACE("Converting RRD file '%s' to '%s'", sourcePath.c_str(), destinationPath.c_str());
  StatusCode rc = Check();
  if (rc == StatusCode::Success) {
    rc = BuildNewHeader();
  }
  if (rc == StatusCode::Success) {
    rc = CreateNewRrdFile();
  }
  if (rc == StatusCode::Success) {
    rc = WriteNewHeader();
  }
  if (rc == StatusCode::Success) {
    rc = CopyData();
  }
  if (rc == StatusCode::Success) {
    NVX_TRACE("'%s' successfully converted to '%s'", sourcePath.c_str(), destinationPath.c_str());
  }
  return rc;
}

StatusCode HeaderConverter::Check() {
  StatusCode rc = OpenFile();
  if (rc == StatusCode::Success) {
    rc = GetRrdFileLayout();
  }
  if (rc == StatusCode::Success) {
    rc = ComputeDataSize();
  }
  if (rc == StatusCode::Success) {
    rc = ComputeAndCheckHeaderSize();
  }
  return rc;
}

StatusCode HeaderConverter::OpenFile() {
  sourceFd = open64(sourcePath.c_str(), O_RDONLY);
  if (sourceFd < 0) {
    NVX_FAILURE("Cannot open '%s': %s", sourcePath.c_str(), ErrorText());
    return StatusCode::CannotOpen;
  }
  const off64_t end = lseek64(sourceFd, 0, SEEK_END);
  if (end < 0) {
    NVX_FAILURE("Cannot seek to end of '%s': %s", sourcePath.c_str(), ErrorText());
    return StatusCode::InvalidArgument;
  }
  fileSize = static_cast<std::uint32_t>(end);
  NVX_TRACE("File size of '%s' is %zu bytes", sourcePath.c_str(), std::size_t{fileSize});
  lseek64(sourceFd, 0, SEEK_SET);
  return StatusCode::Success;
}

StatusCode HeaderConverter::GetRrdFileLayout() {
  stat_head_t head;
  if (!ReadAt(sourceFd, &head, sizeof head, 0)) {
    KeepTransferFailure("Failed to read stat_head");
    NVX_ERROR("Failed to read stat_head: %s", ErrorText());
    return StatusCode::InvalidArgument;
  }
  if (std::memcmp(head.cookie, "RRD", 3) != 0) {
    NVX_FAILURE("Not an RRD file (bad cookie)");
    return StatusCode::InvalidArgument;
  }
  if (std::memcmp(head.version, "0003", 4) != 0) {
    NVX_FAILURE("Unsupported RRD version: %.5s", head.version);
    return StatusCode::InvalidArgument;
  }
  dsCount = head.ds_cnt.Get();
  rraCount = head.rra_cnt.Get();
  return CheckLimits();
}

// Refuses what the 32-bit sizes cannot hold. Call it after a successful read: a directory, which
// cannot be read, may be of any size.
StatusCode HeaderConverter::CheckLimits() const {
  const off64_t end = lseek64(sourceFd, 0, SEEK_END);
  if (end > static_cast<off64_t>(MAX_SIZE)) {
    NVX_FAILURE("RRD file of %lld bytes is too large to convert", static_cast<long long>(end));
    return StatusCode::InvalidArgument;
  }
  if (!IsHeaderSizeIn32Bits(dsCount, rraCount)) {
    NVX_FAILURE("Header size of %u data sources and %u archives exceeds 32 bits", dsCount,
                rraCount);
    return StatusCode::InvalidArgument;
  }
  return StatusCode::Success;
}

StatusCode HeaderConverter::ComputeDataSize() {
  const auto size = static_cast<std::uint32_t>(rraCount * sizeof(rra_def_t));
  // A header may claim more archives than the file has bytes: do not allocate for them.
  const std::uint32_t justifiedSize = std::min(size, fileSize);
  const Buffer<rra_def_t> buffer(static_cast<rra_def_t*>(std::malloc(justifiedSize)));
  // unreached: a null pointer for no bytes, which glibc does not give
  if (buffer == nullptr && justifiedSize != 0) {
    NVX_FAILURE("Out of memory for rraDef: %s", ErrorText());
    return StatusCode::OutOfMemory;
  }
  return ReadRraDefAndComputeDataSize(buffer.get(), static_cast<int>(size),
                                      static_cast<int>(RraDefOffset(dsCount)));
}

StatusCode HeaderConverter::ReadRraDefAndComputeDataSize(rra_def_t* buffer, int size, int offset) {
  const auto byteCount = static_cast<std::uint32_t>(size);
  const auto start = static_cast<std::uint32_t>(offset);
  errno = 0;
  const bool isInFile = byteCount == 0 || std::uint64_t{start} + byteCount <= fileSize;
  if (!isInFile || !ReadAt(sourceFd, buffer, byteCount, start)) {
    KeepTransferFailure("Failed to read rraDef");
    NVX_ERROR("Failed to read rraDef: %s", ErrorText());
    return StatusCode::InvalidArgument;
  }
  std::uint64_t rowCount = 0;
  for (std::uint32_t rra = 0; rra < rraCount; ++rra) {
    rowCount += buffer[rra].row_cnt.Get();
  }
  if (!IsDataSizeIn32Bits(dsCount, rowCount)) {
    NVX_FAILURE("Data size of %u data sources and %llu rows exceeds 32 bits", dsCount,
                static_cast<unsigned long long>(rowCount));
    return StatusCode::InvalidArgument;
  }
  dataSize = static_cast<std::uint32_t>(dsCount * rowCount * VALUE_SIZE);
  return StatusCode::Success;
}

StatusCode HeaderConverter::ComputeAndCheckHeaderSize() {
  newHeaderSize = static_cast<std::uint32_t>(HeaderSize<live_head_t>(dsCount, rraCount));
  if (fileSize == std::uint64_t{newHeaderSize} + dataSize) {
    NVX_FAILURE("RRD file is already in 64-bit time_t format, no conversion needed.");
    return StatusCode::NothingToDo;
  }
  legacyHeaderSize = static_cast<std::uint32_t>(HeaderSize<legacy_live_head_t>(dsCount, rraCount));
  const std::uint64_t legacySize = std::uint64_t{legacyHeaderSize} + dataSize;
  if (fileSize != legacySize) {
    NVX_FAILURE("Failed to read RRD file: expected %zu but got %zu bytes (%zu + %zu)",
                std::size_t{fileSize}, static_cast<std::size_t>(legacySize),
                std::size_t{legacyHeaderSize}, std::size_t{dataSize});
    return StatusCode::InvalidArgument;
  }
  return StatusCode::Success;
}

StatusCode HeaderConverter::BuildNewHeader() {
  // GCOVR_EXCL_START: the new header has eight bytes more than the other
  if (newHeaderSize < legacyHeaderSize) {
    NVX_FAILURE("Header size mismatch: 64-bit header (%zu) < 32-bit header (%zu)",
                std::size_t{newHeaderSize}, std::size_t{legacyHeaderSize});
    return StatusCode::InvalidArgument;
  }
  // GCOVR_EXCL_STOP
  newHeader = static_cast<unsigned char*>(std::calloc(1, newHeaderSize));
  if (newHeader == nullptr) {
    NVX_FAILURE("Out of memory for header: %s", ErrorText());
    return StatusCode::OutOfMemory;
  }
  return ConvertHeader32();
}

StatusCode HeaderConverter::ConvertHeader32() {
  const Buffer<unsigned char> legacy(static_cast<unsigned char*>(std::calloc(1, legacyHeaderSize)));
  if (legacy == nullptr) {
    NVX_FAILURE("Out of memory for header 32bits: %s", ErrorText());
    return StatusCode::OutOfMemory;
  }
  if (!ReadAt(sourceFd, legacy.get(), legacyHeaderSize, 0)) {
    KeepTransferFailure("Failed to read legacy header");
    NVX_ERROR("Failed to read legacy header: %s", ErrorText());
    return StatusCode::InvalidArgument;
  }

  const auto liveHeadOffset = static_cast<std::size_t>(LiveHeadOffset(dsCount, rraCount));
  legacy_live_head_t legacyLiveHead;
  std::memcpy(&legacyLiveHead, legacy.get() + liveHeadOffset, sizeof legacyLiveHead);
  // The high half stays 0: an old time is unsigned and reaches to 2106.
  live_head_t liveHead{};
  liveHead.last_up = legacyLiveHead.last_up;
  liveHead.last_up_usec = legacyLiveHead.last_up_usec;

  const std::size_t legacyRest = liveHeadOffset + sizeof legacyLiveHead;
  std::memcpy(newHeader, legacy.get(), liveHeadOffset);
  std::memcpy(newHeader + liveHeadOffset, &liveHead, sizeof liveHead);
  std::memcpy(newHeader + liveHeadOffset + sizeof liveHead, legacy.get() + legacyRest,
              legacyHeaderSize - legacyRest);
  return StatusCode::Success;
}

StatusCode HeaderConverter::CreateNewRrdFile() {
  if (IsFile(sourceFd, destinationPath)) {
    NVX_FAILURE("'%s' and '%s' are the same file", sourcePath.c_str(), destinationPath.c_str());
    return StatusCode::InvalidArgument;
  }
  destinationFd = open64(destinationPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (destinationFd < 0) {
    NVX_FAILURE("Cannot open %s: %s", destinationPath.c_str(), ErrorText());
    return StatusCode::IoError;
  }
  return StatusCode::Success;
}

StatusCode HeaderConverter::WriteNewHeader() const { return Write(newHeader, newHeaderSize); }

StatusCode HeaderConverter::CopyData() const {
  const Buffer<void> buffer(std::malloc(CHUNK_SIZE));
  if (buffer == nullptr) {
    NVX_FAILURE("Out of memory");
    return StatusCode::OutOfMemory;
  }
  lseek64(sourceFd, legacyHeaderSize, SEEK_SET);
  std::uint32_t remaining = fileSize - legacyHeaderSize;
  Writeback writeback;
  while (remaining != 0) {
    const std::uint32_t chunk = std::min(remaining, CHUNK_SIZE);
    if (read(sourceFd, buffer.get(), chunk) != static_cast<ssize_t>(chunk)) {
      NVX_FAILURE("Failed to read data block");
      return StatusCode::InvalidArgument;
    }
    remaining -= chunk;
    const StatusCode rc = Write(buffer.get(), chunk);
    if (rc != StatusCode::Success) {
      return rc;
    }
    writeback.Add(destinationFd, chunk);
  }
  if (fsync(destinationFd) < 0) {
    NVX_FAILURE("Failed to sync output file %s: %s", destinationPath.c_str(), ErrorText());
    return StatusCode::IoError;
  }
  return StatusCode::Success;
}

StatusCode HeaderConverter::Write(const void* data, unsigned int size) const {
  errno = 0;
  if (write(destinationFd, data, size) != static_cast<ssize_t>(size)) {
    KeepTransferFailure("Cannot write in ", destinationPath.c_str());
    NVX_ERROR("Cannot write in %s: %s", destinationPath.c_str(), ErrorText());
    return StatusCode::IoError;
  }
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
