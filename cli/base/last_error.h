#pragma once

#include <nvx/workstation/log_redirection.h>

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Keeps the error lines of the log to itself while it lives, whatever the level in force, so that a
// failure can be told with its reason instead of beside it. Other lines go where they went before.
class LastError {
 public:
  LastError();

  // The message of the last error line: what stands behind thread, component and operation. Empty
  // when there was none.
  const std::string& GetMessage() const { return message; }

  // The RRD library's own words, or those of what is wrong with a file, out of the message; the
  // whole message when it has none.
  std::string GetReason() const;

 private:
  std::string message;
  Workstation::LogRedirection redirection;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
