#pragma once

#include <cctz/time_zone.h>

#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Reads samples from comma-separated lines of equally many fields, without quotes: a header, then a
// time in the first field and the value in the field of one column. Lines may end with CR LF, and
// blank lines may stand at the end. Every operation throws CommandError, which names the line.
class CsvReader {
 public:
  // Reads the header. Without a column name the column is the second. `sourceName` is for errors.
  CsvReader(std::istream& input, const std::string& sourceName,
            const std::optional<std::string>& columnName, const cctz::time_zone& zone);

  // The next sample, or nothing at the end.
  std::optional<std::pair<long long, double>> Read();

  [[noreturn]] void Refuse(const std::string& problem) const;

 private:
  bool ReadLine();
  bool SkipBlankLines();
  void SplitLine();
  std::size_t FindColumn(const std::optional<std::string>& columnName) const;

  std::istream& stream;
  std::string name;
  cctz::time_zone timeZone;
  std::vector<char> buffer;
  std::size_t column = 0;
  std::size_t columnCount = 0;
  unsigned long long lineNumber = 0;
  std::string line;
  std::vector<std::string> fields;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
