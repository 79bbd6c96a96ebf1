// Loaded into a program with LD_PRELOAD: makes it see a file system without hard links.

#include <unistd.h>

#include <cerrno>

[[gnu::visibility("default")]] int linkat(int /*fromDirectory*/, const char* /*from*/,
                                          int /*toDirectory*/, const char* /*to*/,
                                          int /*flags*/) noexcept {
  errno = EPERM;
  return -1;
}
