#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Guards the RRD library's reading of the file at `path`. The RRD library maps the file and trusts
// what it has read. When another process makes the file shorter (SIGBUS), or overwrites a number
// that is a divisor (SIGFPE), the program ends with EXIT_FAILED and one line that names the file.
// One guard at a time.
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
