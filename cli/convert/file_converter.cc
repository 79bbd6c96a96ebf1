#include "convert/file_converter.h"

#include "replace/file_error.h"
#include "timeseries/failure.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

void RequireDone(StatusCode status) {
  if (status != StatusCode::Success) {
    throw FileError(Failure::GetReason(), status);
  }
}

}  // namespace

void FileConverter::Check(const OpenedFile& source) {
  const std::string path = source.GetPath();
  note.clear();
  if (!target) {
    CheckLegacy(path);
    return;
  }
  RequireDone(converter.Check(path, *target));
  const std::uint64_t size = FindUnusedSize(path);
  if (size != 0) {
    note = "the unused word at its end, " + std::to_string(size) + " bytes, is left out";
  }
}

void FileConverter::Convert(const OpenedFile& source, const FileReplacement& replacement) {
  const StatusCode status =
      target ? converter.Convert(source.GetPath(), replacement.GetPath(), *target)
             : sanitizer.Convert(source.GetPath(), replacement.GetPath());
  // A write that was merely cut short has no reason of its own; the next one has.
  const std::string cause = status == StatusCode::IoError ? replacement.FindGrowthError() : "";
  if (!cause.empty()) {
    throw FileError("the new file cannot be written: " + cause, status);
  }
  RequireDone(status);
}

void FileConverter::CheckLegacy(const std::string& source) {
  const StatusCode status = sanitizer.Check(source);
  if (status == StatusCode::Success) {
    return;
  }
  std::string reason = Failure::GetReason();
  if (status == StatusCode::InvalidArgument && FindUnusedSize(source) != 0) {
    reason += "; it ends with an unused word, which --to " +
              std::string(GetLayoutName(Rrd::Tool::Layout::Arm32Time64)) + " leaves out";
  }
  throw FileError(reason, status);
}

std::uint64_t FileConverter::FindUnusedSize(const std::string& source) {
  Rrd::Tool::RecognisedFile file;
  const bool isRecognised = converter.Recognise(source, file) == StatusCode::Success;
  return isRecognised ? file.unusedSize : 0;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
