#pragma once

#include <string>

#include "error/last_error.h"
#include "files/file_replacement.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/sanitizer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A sanitizer whose error lines become the reasons of its failures instead of lines of the log.
class LoggedSanitizer {
 public:
  // Throw FileError for every status but Success.
  void Check(const OpenedFile& source);
  void Convert(const OpenedFile& source, const FileReplacement& replacement);

 private:
  void Require(StatusCode status) const;

  LastError lastError;
  Rrd::Tool::Sanitizer sanitizer;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
