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

// The first bytes of an open file; fewer where it ends before.
inline std::string ReadStart(int file, std::size_t size) {
  std::string start(size, '\0');
  const ssize_t taken = pread(file, start.data(), size, 0);
  start.resize(taken < 0 ? 0 : static_cast<std::size_t>(taken));
  return start;
}

// Whether an open file begins as an RRD file does, whatever follows.
inline bool BeginsAsRrdFile(int file) {
  constexpr char COOKIE[] = "RRD";  // and its NUL
  return ReadStart(file, sizeof COOKIE) == std::string(COOKIE, sizeof COOKIE);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
