#pragma once

#include <unistd.h>

namespace nvx::TimeSeriesDatabase {

// Owns a descriptor, or none where opening failed.
class Descriptor {
 public:
  explicit Descriptor(int opened) : fd(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (IsOpen()) {
      close(fd);
    }
  }

  bool IsOpen() const { return fd >= 0; }
  int Get() const { return fd; }

 private:
  int fd;
};

}  // namespace nvx::TimeSeriesDatabase
