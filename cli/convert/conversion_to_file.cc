#include "convert/conversion_to_file.h"

#include <optional>

#include "base/command_error.h"
#include "convert/file_converter.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

void CheckSource(const OpenedFile& source, FileConverter& converter) {
  try {
    converter.Check(source);
  } catch (const FileError& error) {
    if (error.GetStatus() == StatusCode::NothingToDo) {
      throw FileError("is in the new layout already, nothing written", error.GetStatus());
    }
    throw;
  }
}

void ConvertTo(const ResolvedPath& destination, const OpenedFile& source,
               FileConverter& converter) {
  const Directory directory(destination.directory);
  std::optional<OpenedFile> old;
  if (directory.Has(destination.name)) {
    old.emplace(directory, destination.name);
    RequireArgument(!IsSameFile(source.GetStatus(), old->GetStatus()),
                    "is the source itself; use --in-place");
    old->RequireReplaceable();
  }
  LockedDirectory lock(directory);
  FileReplacement replacement(lock, destination.name);
  converter.Convert(source, replacement);
  replacement.ReplaceOrMake(old, source.GetStatus().st_mode);
}

}  // namespace

void ConvertToFile(const std::string& source, const std::string& destination,
                   std::optional<Rrd::Tool::Layout> target) {
  const std::string* subject = &source;
  try {
    FileConverter converter(target);
    const ResolvedPath resolved = Resolve(source);
    const Directory directory(resolved.directory);
    UndoInterruptedUpdate(directory, resolved.name);
    const OpenedFile opened(directory, resolved.name);
    CheckSource(opened, converter);
    subject = &destination;
    ConvertTo(Resolve(destination), opened, converter);
    if (!converter.GetNote().empty()) {
      PrintMessage(source + ": " + converter.GetNote());
    }
  } catch (const FileError& error) {
    throw CommandError(*subject, error.what(), error.GetStatus());
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
