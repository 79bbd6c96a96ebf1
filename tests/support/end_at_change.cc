// To be loaded into a program by LD_PRELOAD: kills it before the n-th of its calls that change a
// file or a directory, where n is the number in NVX_END_AT. Half a write is a change, too. What
// goes to the standard streams does not count. Offsets have 64 bits everywhere.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#pragma GCC visibility push(default)
namespace {

// What a program with times of 64 bits calls.
constexpr const char* FUTIMENS = sizeof(long) == 4 ? "__futimens64" : "futimens";

// Whether the end comes at the change after this one.
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

}  // namespace

extern "C" {
int openat(int directory, const char* path, int flags, ...) {
  if ((flags & (O_CREAT | O_TRUNC)) != 0) {
    CountChange();
  }
  std::va_list others;
  va_start(others, flags);
  const auto mode = va_arg(others, mode_t);  // nothing that counts without O_CREAT
  va_end(others);
  return GetReal(openat, "openat64")(directory, path, flags, mode);
}
int open(const char* path, int flags, ...) {
  std::va_list others;
  va_start(others, flags);
  const auto mode = va_arg(others, mode_t);  // nothing that counts without O_CREAT
  va_end(others);
  if ((flags & (O_CREAT | O_TRUNC)) != 0) {
    CountChange();
  }
  return GetReal(open, "open64")(path, flags, mode);
}
int mkstemp(char* path) { return Change(mkstemp, "mkstemp", path); }
int posix_fallocate(int fd, off_t offset, off_t size) {
  return Change(posix_fallocate, "posix_fallocate64", fd, offset, size);
}
int rename(const char* from, const char* to) noexcept { return Change(rename, "rename", from, to); }
int unlink(const char* path) noexcept { return Change(unlink, "unlink", path); }
char* mkdtemp(char* path) noexcept { return Change(mkdtemp, "mkdtemp", path); }
ssize_t write(int fd, const void* data, std::size_t size) {
  return Write(write, "write", fd, data, size);
}
ssize_t pwrite(int fd, const void* data, std::size_t size, off_t offset) {
  return Write(pwrite, "pwrite64", fd, data, size, offset);
}
ssize_t sendfile(int to, int from, off_t* offset, std::size_t size) noexcept {
  return Change(sendfile, "sendfile64", to, from, offset, size);
}
ssize_t copy_file_range(int from, off64_t* fromOffset, int to, off64_t* toOffset, std::size_t size,
                        unsigned int flags) {
  return Change(copy_file_range, "copy_file_range", from, fromOffset, to, toOffset, size, flags);
}
int ftruncate(int fd, off_t size) noexcept { return Change(ftruncate, "ftruncate64", fd, size); }
int fsync(int fd) { return Change(fsync, "fsync", fd); }
int fdatasync(int fd) { return Change(fdatasync, "fdatasync", fd); }
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
  return Change(linkat, "linkat", fromFd, from, toFd, to, flags);
}
int renameat(int fromFd, const char* from, int toFd, const char* to) noexcept {
  return Change(renameat, "renameat", fromFd, from, toFd, to);
}
int renameat2(int fromFd, const char* from, int toFd, const char* to, unsigned int flags) noexcept {
  return Change(renameat2, "renameat2", fromFd, from, toFd, to, flags);
}
int unlinkat(int directory, const char* path, int flags) noexcept {
  return Change(unlinkat, "unlinkat", directory, path, flags);
}
}
#pragma GCC visibility pop
