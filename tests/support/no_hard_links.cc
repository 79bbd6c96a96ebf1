// To be loaded into a program by LD_PRELOAD: a file system without hard links.

#include <unistd.h>

#include <cerrno>

[[gnu::visibility("default")]] int link(const char* /*from*/, const char* /*to*/) noexcept {
  errno = EPERM;
  return -1;
}
