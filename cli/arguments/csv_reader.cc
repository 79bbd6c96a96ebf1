#include "arguments/csv_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "arguments/nearest_word.h"
#include "arguments/sample_text.h"
#include "base/command_error.h"
#include "base/time_text.h"
#include "base/words.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// So many lines tell whether a column has numbers.
constexpr std::size_t LOOK_AHEAD = 100;

constexpr char VALUE_NAME[] = "value";
constexpr char TIMESTAMP_NAME[] = "timestamp";
constexpr char QUALITY_NAME[] = "quality";
constexpr char BAD_QUALITY[] = "bad";

bool IsFiniteNumber(const std::string& text) {
  const std::optional<double> value = ParseValue(text);
  return value && std::isfinite(*value);
}

// The position behind the first field, which is the time; that of the end when there is none.
std::size_t FindName(const std::vector<std::string>& names, const std::string& name) {
  return static_cast<std::size_t>(std::find(names.begin() + 1, names.end(), name) - names.begin());
}

}  // namespace

CsvReader::CsvReader(std::istream& input, const std::string& sourceName,
                     const std::optional<std::string>& columnName, const cctz::time_zone& zone)
    : records(input, sourceName), name(sourceName), timeZone(zone) {
  if (!ReadRecord()) {
    throw CommandError(name, "it is empty");
  }
  columnNames = record.fields;
  const std::size_t columnCount = columnNames.size();
  if (columnCount < 2) {
    Refuse("only one column, where a time, a comma and a value are needed");
  }
  const bool hasHeader = IsHeader(columnNames, columnName);
  if (!hasHeader) {
    recordsAhead.push_back(record);
    for (std::size_t index = 0; index < columnCount; ++index) {
      columnNames[index] = "column " + std::to_string(index + 1);
    }
  }
  const std::size_t quality = FindName(columnNames, QUALITY_NAME);
  if (quality < columnCount) {
    qualityColumn = quality;
  }
  isAnswer = columnNames[0] == "date" && columnNames[1] == TIMESTAMP_NAME && qualityColumn;
  if (columnName) {
    column = FindNamedColumn(columnNames, *columnName);
  } else if (FindName(columnNames, VALUE_NAME) < columnCount) {
    column = FindNamedColumn(columnNames, VALUE_NAME);
  } else {
    column = FindOnlyNumericColumn();
  }
}

std::optional<std::pair<long long, double>> CsvReader::Read() {
  if (!ReadRecord() || (record.IsBlank() && !SkipBlankLines())) {
    return std::nullopt;
  }
  const Fields& fields = record.fields;
  if (fields.size() != columnNames.size()) {
    Refuse(std::to_string(fields.size()) + " fields instead of " +
           std::to_string(columnNames.size()));
  }
  const std::optional<long long> time = ReadTime(fields);
  if (!time) {
    Refuse("'" + fields.front() + "' is not a time of the years 1 to 9999, such as " +
           "2021-03-28T01:00Z, 2021-03-28 or 1616893200");
  }
  const std::optional<double> value = ParseValue(fields[column]);
  if (!value) {
    Refuse("'" + fields[column] + "' is not a number");
  }
  const bool isBad = qualityColumn && fields[*qualityColumn] == BAD_QUALITY;
  return std::pair(*time, isBad ? std::nan("") : *value);
}

// The text of a date lacks the seconds of an offset, which the timestamp beside it in an answer
// has. A timestamp of few digits is a time only where the header says so.
std::optional<long long> CsvReader::ReadTime(const Fields& fields) const {
  constexpr long long LOST_SECONDS = 60;
  const std::optional<long long> time = ParseTime(fields.front(), timeZone);
  if (isAnswer) {
    const std::optional<long long> exact = ParseTime("@" + fields[1], timeZone);
    return time && exact && std::abs(*exact - *time) < LOST_SECONDS ? exact : time;
  }
  const bool isTimestamp = !time && columnNames[0] == TIMESTAMP_NAME;
  return isTimestamp ? ParseTime("@" + fields.front(), timeZone) : time;
}

void CsvReader::Refuse(const std::string& problem) const { records.Refuse(record.line, problem); }

// False at the end of the input.
bool CsvReader::ReadRecord() {
  std::optional<CsvRecord> next;
  if (recordsAhead.empty()) {
    next = records.Read();
  } else {
    next = std::move(recordsAhead.front());
    recordsAhead.pop_front();
  }
  if (next) {
    record = std::move(*next);
  }
  return next.has_value();
}

// False when only blank lines remain; one in the middle is an error.
bool CsvReader::SkipBlankLines() {
  const CsvRecord blank = record;
  while (ReadRecord()) {
    if (!record.IsBlank()) {
      records.Refuse(blank.line, "the line is blank");
    }
  }
  return false;
}

// A line with a time or a number is no header, unless one of its fields is the name that is looked
// for.
bool CsvReader::IsHeader(const Fields& fields, const std::optional<std::string>& columnName) const {
  return FindName(fields, columnName.value_or(VALUE_NAME)) < fields.size() ||
         (!ParseTime(fields.front(), timeZone) &&
          std::none_of(fields.begin() + 1, fields.end(), IsFiniteNumber));
}

std::size_t CsvReader::FindNamedColumn(const Fields& header, const std::string& columnName) const {
  const std::size_t found = FindName(header, columnName);
  if (found == header.size()) {
    Refuse("no value column '" + columnName + "' among " + Join(header) +
           SuggestWord(columnName, {header.begin() + 1, header.end()}));
  }
  if (std::find(header.begin() + static_cast<std::ptrdiff_t>(found) + 1, header.end(),
                columnName) != header.end()) {
    Refuse("the header has several columns '" + columnName + "'");
  }
  return found;
}

void CsvReader::ReadAhead() {
  while (recordsAhead.size() < LOOK_AHEAD) {
    std::optional<CsvRecord> next = records.Read();
    if (!next) {
      break;
    }
    recordsAhead.push_back(std::move(*next));
  }
}

std::size_t CsvReader::FindOnlyNumericColumn() {
  ReadAhead();
  Fields candidates;
  std::size_t found = 0;
  for (std::size_t index = 1; index < columnNames.size(); ++index) {
    // Of two columns the second is meant, and a line is to blame for what is no number.
    if ((columnNames.size() == 2 || IsNumeric(index)) && !IsTime(index)) {
      candidates.push_back(columnNames[index]);
      found = index;
    }
  }
  if (candidates.size() != 1) {
    throw CommandError(
        name,
        candidates.empty()
            ? "none of its columns has numbers but the time: " + Join(columnNames)
            : "several columns could be the value: " + Join(candidates) + "; --column names it");
  }
  return found;
}

// Whether the records ahead have nothing but numbers in a column, where they have anything.
bool CsvReader::IsNumeric(std::size_t index) const {
  return std::all_of(recordsAhead.begin(), recordsAhead.end(), [index](const CsvRecord& ahead) {
    return index >= ahead.fields.size() || ParseValue(ahead.fields[index]);
  });
}

// Whether a column says the time of the first one once more.
bool CsvReader::IsTime(std::size_t index) const {
  const auto saysTime = [this, index](const CsvRecord& ahead) {
    const std::optional<long long> time = ParseTime(ahead.fields.front(), timeZone);
    return index >= ahead.fields.size() ||
           (time && ParseTime(ahead.fields[index], timeZone) == time);
  };
  const bool isTimestamp = isAnswer && index == 1;
  return isTimestamp ||
         (!recordsAhead.empty() && std::all_of(recordsAhead.begin(), recordsAhead.end(), saysTime));
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
