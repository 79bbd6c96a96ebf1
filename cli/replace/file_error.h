#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Why a file was not made or replaced.
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& reason, StatusCode errorStatus)
      : std::runtime_error(reason), status(errorStatus) {}

  StatusCode GetStatus() const { return status; }

 private:
  StatusCode status;
};

// Throws IoError with `problem` and the text of errno, for a system call that failed.
inline void RequireCall(bool isDone, const std::string& problem) {
  if (!isDone) {
    const std::string reason = std::generic_category().message(errno);
    throw FileError(problem + ": " + reason, StatusCode::IoError);
  }
}

// Throws InvalidArgument for what must not be done to a file.
inline void RequireArgument(bool isRight, const std::string& problem) {
  if (!isRight) {
    throw FileError(problem, StatusCode::InvalidArgument);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
