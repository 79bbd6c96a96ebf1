#pragma once

#include <map>
#include <string>
#include <utility>

namespace nvx::TimeSeriesDatabase::CommandLine {

// How many rows of which archives were exported or sent.
class RowTally {
 public:
  void Add(const std::string& consolidation, long long rowLength, const double* values,
           long long count);

  // Of rows that are no samples. Without them there is nothing to tell.
  void NoteSpans() { hasSpans = true; }

  // All of it in a line on standard error, if there is anything to tell.
  void Tell() const;

 private:
  std::map<std::pair<std::string, long long>, unsigned long long> counts;  // of rows with a value
  unsigned long long missingCount = 0;
  bool hasSpans = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
