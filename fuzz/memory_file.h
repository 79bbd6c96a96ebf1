#pragma once

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// A file in memory, which has a path.
class MemoryFile {
 public:
  explicit MemoryFile(const char* name) : fd(memfd_create(name, MFD_CLOEXEC)) {}

  std::string GetPath() const { return "/proc/self/fd/" + std::to_string(fd); }

  void Set(const std::uint8_t* bytes, std::size_t size) const {
    if (ftruncate(fd, 0) != 0 || pwrite(fd, bytes, size, 0) != static_cast<ssize_t>(size)) {
      std::abort();
    }
  }

  std::size_t GetSize() const {
    struct stat status {};
    fstat(fd, &status);
    return static_cast<std::size_t>(status.st_size);
  }

  std::string Get() const {
    std::string content(GetSize(), '\0');
    if (pread(fd, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size())) {
      std::abort();
    }
    return content;
  }

 private:
  int fd;
};
