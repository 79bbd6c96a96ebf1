#pragma once

#include <map>
#include <string>
#include <vector>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The outcome of an in-place conversion for each file, or in a dry run what it would be. Paths are
// those that the user knows.
class ConversionSummary {
 public:
  explicit ConversionSummary(bool isDry) : isDryRun(isDry) {}

  // `note` is a further message about the file, or empty.
  void AddConverted(const std::string& path, const std::string& note);
  void AddAlreadyConverted(const std::string& path) { alreadyConverted.push_back(path); }
  // `layout` is the name of the file's layout, or empty.
  void AddNotConvertible(const std::string& path, const FileError& error,
                         const std::string& layout = "");
  void AddFailed(const std::string& path, const FileError& error);

  std::size_t CountConverted() const { return converted.size(); }
  bool AreAllConverted() const { return notConvertible.empty() && failed.empty(); }

  // Notes and problems go to standard error, the numbers of files to standard output.
  void PrintText() const;

  // Everything goes to standard output.
  void PrintJson() const;

 private:
  struct Problem {
    std::string path;
    std::string reason;
    StatusCode status;
  };

  struct Note {
    std::string path;
    std::string text;
  };

  std::string DescribeLayouts() const;

  bool isDryRun;
  std::vector<std::string> converted;
  std::vector<Note> notes;
  std::vector<std::string> alreadyConverted;
  std::vector<Problem> notConvertible;
  std::vector<Problem> failed;
  std::map<std::string, std::size_t> layoutCounts;  // of those that are not convertible
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
