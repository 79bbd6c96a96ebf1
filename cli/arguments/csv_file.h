#pragma once

#include <fstream>
#include <istream>
#include <optional>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The file of --csv, or standard input for "-".
class CsvFile {
 public:
  // Throws CommandError when it cannot be opened.
  explicit CsvFile(const std::string& path);

  std::istream& GetStream() { return isStandardInput ? GetStandardInput() : file; }

  // Its name for errors.
  const std::string& GetName() const { return name; }

  // From 0 to 1, or nothing when the size is not known.
  std::optional<double> GetReadShare();

 private:
  static std::istream& GetStandardInput();

  bool isStandardInput;
  std::string name;
  std::ifstream file;
  double size = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
