#include "points/row_tally.h"

#include <algorithm>
#include <cmath>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void RowTally::Add(const std::string& consolidation, long long rowLength, const double* values,
                   long long count) {
  const auto missing = static_cast<unsigned long long>(
      std::count_if(values, values + count, [](double value) { return std::isnan(value); }));
  counts[{consolidation, rowLength}] += static_cast<unsigned long long>(count) - missing;
  missingCount += missing;
}

void RowTally::Tell() const {
  if (!hasSpans) {
    return;
  }
  unsigned long long sum = 0;
  std::string parts;
  for (const auto& [archive, count] : counts) {
    if (count > 0) {
      parts += (parts.empty() ? ": " : ", ") + std::to_string(count) + " of " + archive.first +
               " with rows of " + std::to_string(archive.second) + " s";
    }
    sum += count;
  }
  PrintMessage(std::to_string(sum) + " rows with a value" + parts + "; and " +
               std::to_string(missingCount) + " without");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
