#pragma once

#include <memory>
#include <optional>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Where a command writes: standard output, or a file that is made or replaced in one step when all
// is written. Every operation throws CommandError.
class OutputFile {
 public:
  // Standard output for no path and for "-".
  explicit OutputFile(const std::optional<std::string>& filePath);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  // Whether it is a file, which appears only at the end.
  bool IsFile() const { return file != nullptr; }

  // False when the reader of standard output has gone.
  bool Write(const std::string& text);

  // Puts the file in place.
  void Finish();

 private:
  class File;

  std::string path;
  std::unique_ptr<File> file;  // none for standard output
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
