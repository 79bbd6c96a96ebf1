#pragma once

#include <cctz/time_zone.h>

#include <deque>
#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arguments/csv_records.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char CSV_HELP[] =
    "FILE has lines of a time, a comma, and the values of the columns; the first line may name "
    "the columns. The value is the column called value, or else the only one with numbers. If "
    "there is a column called quality, a value of quality bad is a missing sample.";

// Reads samples from records of equally many fields: a time in the first field and the value in the
// field of one column. The first record is a header unless it reads as a sample. Blank lines may
// stand at the end. Every operation throws CommandError, which names the line.
class CsvReader {
 public:
  // Reads what is needed to know the columns. `sourceName` is for errors.
  CsvReader(std::istream& input, const std::string& sourceName,
            const std::optional<std::string>& columnName, const cctz::time_zone& zone);

  // The next sample, or nothing at the end.
  std::optional<std::pair<long long, double>> Read();

  [[noreturn]] void Refuse(const std::string& problem) const;

 private:
  using Fields = std::vector<std::string>;

  std::optional<long long> ReadTime(const Fields& fields) const;
  bool ReadRecord();
  bool SkipBlankLines();
  bool IsHeader(const Fields& fields, const std::optional<std::string>& columnName) const;
  std::size_t FindNamedColumn(const Fields& header, const std::string& columnName) const;
  void ReadAhead();
  std::size_t FindOnlyNumericColumn();
  bool IsNumeric(std::size_t index) const;
  bool IsTime(std::size_t index) const;

  CsvRecords records;
  std::string name;
  cctz::time_zone timeZone;
  bool isAnswer = false;  // of query, which has a date and a timestamp
  std::size_t column = 0;
  std::optional<std::size_t> qualityColumn;
  Fields columnNames;
  CsvRecord record;
  std::deque<CsvRecord> recordsAhead;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
