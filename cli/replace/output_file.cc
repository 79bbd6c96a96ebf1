#include "replace/output_file.h"

#include <fstream>
#include <iostream>

#include "replace/file_error.h"
#include "replace/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Nobody means to replace an RRD file by an output.
void RequireNoRrdFile(const OpenedFile& file) {
  RequireArgument(!BeginsAsRrdFile(file.Get()), "is an RRD file, which is not replaced");
}

}  // namespace

class OutputFile::File {
 public:
  explicit File(const ResolvedPath& resolved)
      : directory(resolved.directory),
        old(OpenOld(resolved.name)),
        lock(directory),
        replacement(lock, resolved.name),
        stream(replacement.GetPath(), std::ios::binary) {}

  void Write(const std::string& text) {
    InterruptionGuard::Check();
    stream << text;
    RequireCall(stream.good(), "it cannot be written");
  }

  void PutInPlace() {
    stream.close();
    RequireCall(stream.good(), "it cannot be written");
    replacement.ReplaceOrMake(old);
  }

 private:
  std::optional<OpenedFile> OpenOld(const std::string& name) const {
    if (!directory.Has(name)) {
      return std::nullopt;
    }
    OpenedFile opened(directory, name);
    opened.RequireReplaceable();
    RequireNoRrdFile(opened);
    return opened;
  }

  Directory directory;
  std::optional<OpenedFile> old;
  LockedDirectory lock;
  FileReplacement replacement;
  std::ofstream stream;
};

OutputFile::OutputFile(const std::optional<std::string>& filePath) {
  if (filePath && *filePath != "-") {
    path = *filePath;
    file = WithSubject(path, "", [this] { return std::make_unique<File>(Resolve(path)); });
  }
}

OutputFile::~OutputFile() = default;

bool OutputFile::Write(const std::string& text) {
  if (file == nullptr) {
    return std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).good();
  }
  WithSubject(path, "", [&] { file->Write(text); });
  return true;
}

void OutputFile::Finish() {
  if (file != nullptr) {
    WithSubject(path, "", [this] { file->PutInPlace(); });
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
