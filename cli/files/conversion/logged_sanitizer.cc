#include "files/conversion/logged_sanitizer.h"

#include "files/conversion/early_writeback.h"
#include "files/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void LoggedSanitizer::Check(const OpenedFile& source) {
  Require(sanitizer.Check(source.GetPath()));
}

void LoggedSanitizer::Convert(const OpenedFile& source, const FileReplacement& replacement) {
  const EarlyWriteback writeback(replacement.Get());
  const StatusCode status = sanitizer.Convert(source.GetPath(), replacement.GetPath());
  // A write that was merely cut short has no reason of its own; the next one has.
  const std::string cause = status == StatusCode::IoError ? replacement.FindGrowthError() : "";
  if (!cause.empty()) {
    throw FileError("the new file cannot be written: " + cause, status);
  }
  Require(status);
}

void LoggedSanitizer::Require(StatusCode status) const {
  if (status != StatusCode::Success) {
    throw FileError(lastError.GetMessage(), status);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
