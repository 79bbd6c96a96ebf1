#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// While it lives, the file of `path` is read by the RRD library, which maps it and trusts what it
// has seen of it. Where another process makes the file shorter meanwhile (SIGBUS), or writes a
// number over that is divided by (SIGFPE), the program ends with one line that names the file, and
// with EXIT_FAILED. One guard at a time.
class ReadGuard {
 public:
  explicit ReadGuard(const std::string& path);
  ReadGuard(const ReadGuard&) = delete;
  ReadGuard& operator=(const ReadGuard&) = delete;
  ~ReadGuard();

 private:
  const std::string message;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
