// To be loaded into a program by LD_PRELOAD: a file system without hard links.

#include <unistd.h>

#include <cerrno>

[[gnu::visibility("default")]] int linkat(int /*fromDirectory*/, const char* /*from*/,
                                          int /*toDirectory*/, const char* /*to*/,
                                          int /*flags*/) noexcept {
  errno = EPERM;
  return -1;
}
