#include "files/conversion/logged_sanitizer.h"

#include "files/conversion/early_writeback.h"
#include "files/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void LoggedSanitizer::Check(const std::string& source) { Require(sanitizer.Check(source)); }

void LoggedSanitizer::Convert(const std::string& source, const FileReplacement& replacement) {
  const EarlyWriteback writeback(replacement.GetDescriptor());
  Require(sanitizer.Convert(source, replacement.GetTemporaryPath()));
}

void LoggedSanitizer::Require(StatusCode status) const {
  if (status != StatusCode::Success) {
    throw FileError(lastError.GetMessage(), status);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
