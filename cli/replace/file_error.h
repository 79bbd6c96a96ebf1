#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include "base/command_error.h"
#include "timeseries/failure.h"
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

// Runs `work`, and throws its FileErrors as errors of a command, with what comes before the reason.
template <typename Work>
auto WithSubject(const std::string& subject, const std::string& before, const Work& work) {
  try {
    return work();
  } catch (const FileError& error) {
    throw CommandError(subject, before + error.what(), error.GetStatus());
  }
}

// Throws IoError with `problem` and the text of errno, for a system call that failed.
inline void RequireCall(bool isDone, const std::string& problem) {
  if (!isDone) {
    const std::string reason = std::generic_category().message(errno);
    throw FileError(problem + ": " + reason, StatusCode::IoError);
  }
}

// Throws the reason of a call of the library that failed.
inline void RequireDone(StatusCode status) {
  if (status != StatusCode::Success) {
    throw FileError(Failure::GetReason(), status);
  }
}

// Throws InvalidArgument for what must not be done to a file.
inline void RequireArgument(bool isRight, const std::string& problem) {
  if (!isRight) {
    throw FileError(problem, StatusCode::InvalidArgument);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
