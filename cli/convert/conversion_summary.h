#pragma once

#include <map>
#include <string>
#include <vector>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What became of the files of an in-place conversion, or would become of them in a dry run. Paths
// are those that the user knows.
class ConversionSummary {
 public:
  explicit ConversionSummary(bool isDry) : isDryRun(isDry) {}

  // `note` is what else has to be said of it, or empty.
  void AddConverted(const std::string& path, const std::string& note);
  void AddAlreadyConverted(const std::string& path) { alreadyConverted.push_back(path); }
  // `layout` is the name of the one that the file has, or empty.
  void AddNotConvertible(const std::string& path, const FileError& error,
                         const std::string& layout = "");
  void AddFailed(const std::string& path, const FileError& error);

  std::size_t CountConverted() const { return converted.size(); }
  bool AreAllConverted() const { return notConvertible.empty() && failed.empty(); }

  // The notes and the reasons of all problems on standard error and the numbers of files on
  // standard output.
  void PrintText() const;

  // All of it on standard output.
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
  static void PrintReasons(const std::vector<Problem>& problems);

  bool isDryRun;
  std::vector<std::string> converted;
  std::vector<Note> notes;
  std::vector<std::string> alreadyConverted;
  std::vector<Problem> notConvertible;
  std::vector<Problem> failed;
  std::map<std::string, std::size_t> layoutCounts;  // of those that are not convertible
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
