#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "rrd/checksum.h"
#include "rrd/journal.h"
#include "timeseries/host.h"
#include "timeseries/rrd_client.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

void Require(bool isRight) {
  if (!isRight) {
    std::abort();
  }
}

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const std::string& path, const std::string& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  Require(pwrite(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  close(fd);
}

// Where the header has the newest row. The RRD library draws one by lot for a new file.
constexpr std::size_t NEWEST_ROW = 576;
constexpr std::uint64_t ROW_OF_SEEDS = 15;

// A data file in a directory of its own.
struct DataFile {
  DataFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "nvx-XXXXXX").string();
    directory = mkdtemp(pattern.data());
    path = directory + "/x.rrd";
    Require(client.Create(path, 60, 1700000040, NAN, NAN, 20) == StatusCode::Success &&
            client.Update(path, {{1700000100, 1}, {1700000160, 2}}) == StatusCode::Success);
    bytes = Read(path);
    std::memcpy(&bytes[NEWEST_ROW], &ROW_OF_SEEDS, sizeof ROW_OF_SEEDS);
    Write(path, bytes);
  }
  ~DataFile() { std::filesystem::remove_all(directory); }

  RrdClient client;
  std::string directory;
  std::string path;
  std::string bytes;
};

std::uint64_t SumRowsBefore(const std::string& bytes, long long lastTime) {
  std::string rows;
  for (const Rrd::Extent& part : Rrd::FindRowsBefore(bytes, lastTime)) {
    rows +=
        bytes.substr(static_cast<std::size_t>(part.offset), static_cast<std::size_t>(part.size));
  }
  return Rrd::ComputeChecksum(rows);
}

// Completes the bytes, so that they seem to be a whole journal of the file.
void Seal(std::string& journal, const std::string& path, const std::string& file) {
  struct statx status {};
  Require(statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &status) == 0);
  Rrd::JournalHead head;
  std::memcpy(&head, journal.data(), sizeof head);
  std::memcpy(&head.mark, "NVXUNDO1", sizeof head.mark);
  head.size = journal.size();
  head.file = {status.stx_size, status.stx_ino, status.stx_btime.tv_sec, status.stx_btime.tv_nsec};
  head.rowsBefore = SumRowsBefore(file, head.lastTime);
  std::memcpy(journal.data(), &head, sizeof head);
  const std::string_view checked =
      std::string_view(journal).substr(offsetof(Rrd::JournalHead, size));
  head.checksum = Rrd::ComputeChecksum(checked);
  std::memcpy(journal.data(), &head, sizeof head);
}

}  // namespace

// Uses the input as the journal of a data file, as it is and with a right checksum. Only rows and
// the end of the header may change, and afterwards the file can be read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const DataFile file;
  constexpr std::size_t LIVE_HEAD = 368;
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  for (const bool isSealed : {false, true}) {
    std::string journal(reinterpret_cast<const char*>(bytes), size);
    if (isSealed && size >= sizeof(Rrd::JournalHead)) {
      Seal(journal, file.path, file.bytes);
    }
    Write(file.path + "-journal", journal);
    long long last = 0;
    Require(file.client.GetLastTimestamp(file.path, last) == StatusCode::Success);
    const std::string now = Read(file.path);
    Require(now.size() == file.bytes.size() &&
            now.compare(0, LIVE_HEAD, file.bytes, 0, LIVE_HEAD) == 0);
    if (now != file.bytes) {
      Write(file.path, file.bytes);
    }
    unlink((file.path + "-journal").c_str());
  }
  return 0;
}
