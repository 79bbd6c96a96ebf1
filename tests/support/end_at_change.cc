// Loaded into a program with LD_PRELOAD: kills it before the n-th of its calls that change a file
// or a directory, where n is the number in NVX_END_AT. Half a write is a change, too. Writes to the
// standard streams do not count. Offsets have 64 bits everywhere.
//
// With a directory in NVX_RECORD it records in a file "log" there what a loss of power can undo and
// what it cannot, one line for each:
//
//   name FILE PATH       a name was made, or removed where FILE is 0; a number stands for each file
//   new FILE             the file is empty, and not synced
//   file FILE COPY       the file was synced, as the copy is
//   directory PATH       the names in it were synced

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#pragma GCC visibility push(default)
namespace {

// What a program with times of 64 bits calls.
constexpr const char* FUTIMENS = sizeof(long) == 4 ? "__futimens64" : "futimens";

// Whether the process ends at the change after this one.
bool CountChange() {
  static const char* const wanted = std::getenv("NVX_END_AT");
  static const long end = wanted == nullptr ? 0 : std::strtol(wanted, nullptr, 10);
  static std::atomic<long> count{0};
  const long number = ++count;
  if (number == end) {
    std::raise(SIGKILL);
  }
  return number + 1 == end;
}

template <typename Function>
Function* GetReal(Function& /*standIn*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <typename Function, typename... Arguments>
auto Change(Function& standIn, const char* name, Arguments... arguments) {
  CountChange();
  return GetReal(standIn, name)(arguments...);
}

template <typename Function, typename... Offset>
ssize_t Write(Function& standIn, const char* name, int fd, const void* data, std::size_t size,
              Offset... offset) {
  const auto real = GetReal(standIn, name);
  if (fd > STDERR_FILENO) {
    if (CountChange()) {
      real(fd, data, size / 2, offset...);
    }
    CountChange();
  }
  return real(fd, data, size, offset...);
}

// The directory of the record, empty where none is kept.
const std::string& GetRecord() {
  static const char* const wanted = std::getenv("NVX_RECORD");
  static const std::string directory = wanted == nullptr ? "" : wanted;
  return directory;
}

bool isRecording = false;  // calls for the record itself are not recorded

template <typename... Arguments>
void Record(const char* format, Arguments... arguments) {
  static const std::string path = GetRecord() + "/log";
  isRecording = true;
  const int log = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR);
  dprintf(log, format, arguments...);
  close(log);
  isRecording = false;
}

bool IsRecorded(bool isDone) { return isDone && !GetRecord().empty() && !isRecording; }

unsigned long long GetFile(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 ? status.st_ino : 0;
}

std::string GetPath(int fd) {
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
}

// Takes the result of the call that did something to a name.
int RecordName(int directory, const std::filesystem::path& path, int result) {
  if (!IsRecorded(result != -1)) {
    return result;
  }
  const auto parent = "." / path.parent_path();
  const int fd = openat(directory, parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  struct stat status {};
  const bool isThere = fstatat(fd, path.filename().c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  Record("name %llu %s/%s\n", isThere ? static_cast<unsigned long long>(status.st_ino) : 0,
         GetPath(fd).c_str(), path.filename().c_str());
  close(fd);
  return result;
}

int RecordNew(int directory, const char* path, int fd) {
  if (IsRecorded(fd != -1)) {
    Record("new %llu\n", GetFile(fd));
  }
  return RecordName(directory, path, fd);
}

int RecordSync(int fd, int result) {
  if (!IsRecorded(result == 0)) {
    return result;
  }
  const std::string path = GetPath(fd);
  struct stat status {};
  fstat(fd, &status);
  if (S_ISDIR(status.st_mode)) {
    Record("directory %s\n", path.c_str());
    return result;
  }
  static int count = 0;
  const std::string name =
      std::to_string(++count) + "." + std::filesystem::path(path).filename().string();
  const std::string copy = GetRecord() + "/" + name;
  isRecording = true;
  std::filesystem::copy_file("/proc/self/fd/" + std::to_string(fd), copy);
  std::filesystem::last_write_time(copy, std::filesystem::last_write_time(path));
  isRecording = false;
  Record("file %llu %s\n", GetFile(fd), name.c_str());
  return result;
}

}  // namespace

extern "C" {
int openat(int directory, const char* path, int flags, ...) {
  std::va_list others;
  va_start(others, flags);
  const auto mode = va_arg(others, mode_t);  // nothing that counts without O_CREAT
  va_end(others);
  if ((flags & (O_CREAT | O_TRUNC)) == 0) {
    return GetReal(openat, "openat64")(directory, path, flags, mode);
  }
  return RecordNew(directory, path, Change(openat, "openat64", directory, path, flags, mode));
}
int open(const char* path, int flags, ...) {
  std::va_list others;
  va_start(others, flags);
  const auto mode = va_arg(others, mode_t);
  va_end(others);
  return openat(AT_FDCWD, path, flags, mode);
}
int mkstemp(char* path) {
  const int fd = Change(mkstemp, "mkstemp", path);
  return RecordNew(AT_FDCWD, path, fd);
}
int posix_fallocate(int fd, off_t offset, off_t size) {
  return Change(posix_fallocate, "posix_fallocate64", fd, offset, size);
}
int rename(const char* from, const char* to) noexcept {
  const int result = RecordName(AT_FDCWD, to, Change(rename, "rename", from, to));
  return RecordName(AT_FDCWD, from, result);
}
int unlink(const char* path) noexcept {
  return RecordName(AT_FDCWD, path, Change(unlink, "unlink", path));
}
char* mkdtemp(char* path) noexcept { return Change(mkdtemp, "mkdtemp", path); }
ssize_t write(int fd, const void* data, std::size_t size) {
  return Write(write, "write", fd, data, size);
}
ssize_t pwrite(int fd, const void* data, std::size_t size, off_t offset) {
  return Write(pwrite, "pwrite64", fd, data, size, offset);
}
int ftruncate(int fd, off_t size) noexcept { return Change(ftruncate, "ftruncate64", fd, size); }
int fsync(int fd) { return RecordSync(fd, Change(fsync, "fsync", fd)); }
int fdatasync(int fd) { return RecordSync(fd, Change(fdatasync, "fdatasync", fd)); }
int fchmod(int fd, mode_t mode) noexcept { return Change(fchmod, "fchmod", fd, mode); }
int fchown(int fd, uid_t user, gid_t group) noexcept {
  return Change(fchown, "fchown", fd, user, group);
}
int futimens(int fd, const timespec* times) noexcept {
  return Change(futimens, FUTIMENS, fd, times);
}
int fsetxattr(int fd, const char* name, const void* value, std::size_t size, int flags) noexcept {
  return Change(fsetxattr, "fsetxattr", fd, name, value, size, flags);
}
int fremovexattr(int fd, const char* name) noexcept {
  return Change(fremovexattr, "fremovexattr", fd, name);
}
int linkat(int fromFd, const char* from, int toFd, const char* to, int flags) noexcept {
  return RecordName(toFd, to, Change(linkat, "linkat", fromFd, from, toFd, to, flags));
}
int renameat(int fromFd, const char* from, int toFd, const char* to) noexcept {
  const int result = RecordName(toFd, to, Change(renameat, "renameat", fromFd, from, toFd, to));
  return RecordName(fromFd, from, result);
}
int renameat2(int fromFd, const char* from, int toFd, const char* to, unsigned int flags) noexcept {
  const int result =
      RecordName(toFd, to, Change(renameat2, "renameat2", fromFd, from, toFd, to, flags));
  return RecordName(fromFd, from, result);
}
int unlinkat(int directory, const char* path, int flags) noexcept {
  return RecordName(directory, path, Change(unlinkat, "unlinkat", directory, path, flags));
}
}
#pragma GCC visibility pop
