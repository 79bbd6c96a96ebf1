#include "simulation/disk.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "support/interrupted_process.h"

namespace nvx::TimeSeriesDatabase::Simulation {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t SECTOR = 512;
constexpr char SYNCED[] = ".synced";

bool isRecording = false;

template <typename Function, typename... Arguments>
auto Call(Function& /*standIn*/, const char* name, Arguments... arguments) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

// A call of the system that changes a file or a name: a process can be killed before it.
template <typename Function, typename... Arguments>
auto Change(Function& standIn, const char* name, Arguments... arguments) {
  CountCall();
  return Call(standIn, name, arguments...);
}

int Sync(int fd) {
  CountCall();
  if (isRecording) {
    const fs::path path = fs::read_symlink("/proc/self/fd/" + std::to_string(fd));
    OverwriteBytes(path.string() + SYNCED,
                   fs::is_directory(path) ? "" : ReadBytes(path).value_or(""));
  }
  return 0;
}

std::string GetDirectoryMark(const std::string& path) {
  return fs::path(path).parent_path().string() + SYNCED;
}

std::string Mix(const std::string& disk, const std::string& now, Random& random) {
  std::string mixed;
  for (std::size_t start = 0; start < std::max(disk.size(), now.size()); start += SECTOR) {
    const std::string& source = random.Between(0, 1) == 0 ? disk : now;
    mixed += source.substr(std::min(start, source.size()), SECTOR);
    mixed.resize(start + SECTOR);
  }
  mixed.resize(random.Between(0, 1) == 0 ? disk.size() : now.size());
  return mixed;
}

}  // namespace

std::optional<std::string> ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return file ? std::optional<std::string>({std::istreambuf_iterator<char>(file), {}})
              : std::nullopt;
}

void OverwriteBytes(const std::string& path, const std::string& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const ssize_t size = Call(pwrite, "pwrite64", fd, bytes.data(), bytes.size(), off_t{0});
  close(fd);
  if (size != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error(path + " cannot be written");
  }
}

Disk::Disk(const std::string& file, const std::string& journal)
    : before{{file, ReadBytes(file)}, {journal, ReadBytes(journal)}} {
  isRecording = true;
}

Disk::~Disk() {
  isRecording = false;
  for (const auto& entry : before) {
    fs::remove(entry.first + SYNCED);
    fs::remove(GetDirectoryMark(entry.first));
  }
}

void Disk::LosePower(Random& random) const {
  for (const auto& [path, former] : before) {
    const std::optional<std::string> now = ReadBytes(path);
    const std::string disk = ReadBytes(path + SYNCED).value_or(former.value_or(""));
    const bool isNameSynced = bool{former} == bool{now} || fs::exists(GetDirectoryMark(path));
    const bool isNameLost = !isNameSynced && random.Between(0, 1) == 0;
    if (now && isNameLost) {
      fs::remove(path);
    } else if (now || isNameLost) {
      OverwriteBytes(path, now ? Mix(disk, *now, random) : disk);
    }
  }
}

}  // namespace nvx::TimeSeriesDatabase::Simulation

#pragma GCC visibility push(default)
using namespace nvx::TimeSeriesDatabase::Simulation;

extern "C" {
int fsync(int fd) { return Sync(fd); }
int fdatasync(int fd) { return Sync(fd); }
int unlink(const char* path) noexcept { return Change(unlink, "unlink", path); }
int rename(const char* from, const char* to) noexcept { return Change(rename, "rename", from, to); }
int renameat(int fromFd, const char* from, int toFd, const char* to) noexcept {
  return Change(renameat, "renameat", fromFd, from, toFd, to);
}
int renameat2(int fromFd, const char* from, int toFd, const char* to, unsigned int flags) noexcept {
  return Change(renameat2, "renameat2", fromFd, from, toFd, to, flags);
}
int linkat(int fromFd, const char* from, int toFd, const char* to, int flags) noexcept {
  return Change(linkat, "linkat", fromFd, from, toFd, to, flags);
}
int unlinkat(int fd, const char* path, int flags) noexcept {
  return Change(unlinkat, "unlinkat", fd, path, flags);
}
char* mkdtemp(char* path) noexcept { return Change(mkdtemp, "mkdtemp", path); }
int ftruncate(int fd, off_t size) noexcept { return Change(ftruncate, "ftruncate64", fd, size); }
int fallocate(int fd, int mode, off_t offset, off_t size) {
  return Change(fallocate, "fallocate64", fd, mode, offset, size);
}
ssize_t write(int fd, const void* data, std::size_t size) {
  return Change(write, "write", fd, data, size);
}
ssize_t pwrite(int fd, const void* data, std::size_t size, off_t offset) {
  return Change(pwrite, "pwrite64", fd, data, size, offset);
}
// Nobody ends a lock while another one waits.
int nanosleep(const timespec* /*time*/, timespec* /*rest*/) { return 0; }
// The RRD library draws the row that a new file begins with, from a seed of the clock.
long random() noexcept { return 0; }
}
#pragma GCC visibility pop
