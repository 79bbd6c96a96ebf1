#pragma once

#include <unistd.h>

#include <string>
#include <utility>

namespace nvx::TimeSeriesDatabase::CommandLine {

// An open file or directory, closed at the end; -1 for none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int openNumber = -1) : number(openNumber) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
  }
  ~FileDescriptor() {
    if (number >= 0) {
      close(number);
    }
  }

  int Get() const { return number; }
  bool IsOpen() const { return number >= 0; }
  int Release() { return std::exchange(number, -1); }

  // A path of the file that is open here, whatever happens to its name meanwhile.
  std::string GetPath() const { return "/proc/self/fd/" + std::to_string(number); }

 private:
  int number;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
