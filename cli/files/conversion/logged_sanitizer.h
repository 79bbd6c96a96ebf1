#pragma once

#include <string>

#include "files/file_replacement.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/sanitizer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A sanitizer whose error lines become the reasons of its failures instead of lines of the log. It
// has the logger for itself while it lives.
class LoggedSanitizer {
 public:
  LoggedSanitizer();
  LoggedSanitizer(const LoggedSanitizer&) = delete;
  LoggedSanitizer& operator=(const LoggedSanitizer&) = delete;
  ~LoggedSanitizer();

  // Throw ConversionError for every status but Success.
  void Check(const std::string& source);
  void Convert(const std::string& source, const FileReplacement& replacement);

 private:
  void Require(StatusCode status) const;

  KoraLogLevel userLevel;
  std::string reason;
  Rrd::Tool::Sanitizer sanitizer;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
