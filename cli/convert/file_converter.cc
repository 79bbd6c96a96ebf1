#include "convert/file_converter.h"

#include "replace/file_error.h"
#include "rrd/described_file.h"
#include "timeseries/failure.h"
#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

using Rrd::Tool::Layout;

void UndoInterruptedUpdate(const Directory& directory, const std::string& fileName) {
  const OpenedFile file(directory, fileName);
  if (!file.HasPendingJournal()) {
    return;
  }
  long long last = 0;
  const bool isRead = RrdClient().GetLastTimestamp(file.GetPath(), last) == StatusCode::Success;
  RequireArgument(!file.HasPendingJournal(),
                  isRead ? "an update of it is under way" : Failure::GetReason());
}

void FileConverter::Check(const OpenedFile& source) {
  const std::string path = source.GetPath();
  RequireArgument(!IsOtherFile(path), "it is no RRD file");
  note.clear();
  otherLayout.clear();
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
  // A write that was merely cut short has no reason; another attempt finds it.
  const std::string cause = status == StatusCode::IoError ? replacement.FindGrowthError() : "";
  if (!cause.empty()) {
    // GCOVR_EXCL_START: on a full disk no counts are written
    throw FileError("the new file cannot be written: " + cause, status);
    // GCOVR_EXCL_STOP
  }
  RequireDone(status);
}

void FileConverter::CheckLegacy(const std::string& source) {
  const StatusCode status = sanitizer.Check(source);
  if (status == StatusCode::Success) {
    return;
  }
  const std::string reason = Failure::GetReason();
  throw FileError(status == StatusCode::InvalidArgument ? Explain(source, reason) : reason, status);
}

// What is known about a file that is not of a 32-bit time_t, or not a plain one.
std::string FileConverter::Explain(const std::string& source, const std::string& reason) {
  Rrd::Tool::RecognisedFile file;
  if (converter.Recognise(source, file) != StatusCode::Success) {
    return converter.GetCutOffLayouts().empty() ? reason : converter.GetReason();
  }
  const std::string name = GetLayoutName(file.layout);
  if (file.layout == Layout::Arm32Time32) {
    return file.unusedSize == 0 ? reason
                                : reason + "; it ends with an unused word, which --to " +
                                      GetLayoutName(Layout::Arm32Time64) + " leaves out";
  }
  otherLayout = name;
  if (file.layout == Layout::Bits64) {
    return "it is " + name + " already";
  }
  return "it is " + name +
         (converter.Check(source, Rrd::Tool::GetNativeLayout()) == StatusCode::Success
              ? "; --to native converts it"
              : "; " + converter.GetReason());
}

std::uint64_t FileConverter::FindUnusedSize(const std::string& source) {
  Rrd::Tool::RecognisedFile file;
  RequireDone(converter.Recognise(source, file));
  return file.unusedSize;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
