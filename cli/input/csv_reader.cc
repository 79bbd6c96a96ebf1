#include "input/csv_reader.h"

#include <algorithm>

#include "error/command_error.h"
#include "input/sample_text.h"
#include "input/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Longer lines are no samples; without a bound an endless one would fill the memory.
constexpr std::size_t MAXIMUM_LINE_SIZE = 65536;

}  // namespace

CsvReader::CsvReader(std::istream& input, const std::string& sourceName,
                     const std::optional<std::string>& columnName, const cctz::time_zone& zone)
    : stream(input), name(sourceName), timeZone(zone), buffer(MAXIMUM_LINE_SIZE) {
  if (!ReadLine()) {
    throw CommandError(name, "no header line", StatusCode::InvalidArgument);
  }
  SplitLine();
  columnCount = fields.size();
  column = FindColumn(columnName);
}

std::optional<std::pair<long long, double>> CsvReader::Read() {
  if (!ReadLine() || (line.empty() && !SkipBlankLines())) {
    return std::nullopt;
  }
  SplitLine();
  if (fields.size() != columnCount) {
    Refuse(std::to_string(fields.size()) + " fields instead of " + std::to_string(columnCount));
  }
  const std::optional<long long> time = ParseTime(fields.front(), timeZone);
  if (!time) {
    Refuse("'" + fields.front() + "' is not a time of the years 1 to 9999");
  }
  const std::optional<double> value = ParseValue(fields[column]);
  if (!value) {
    Refuse("'" + fields[column] + "' is no number");
  }
  return std::pair(*time, *value);
}

void CsvReader::Refuse(const std::string& problem) const {
  throw CommandError(name, "line " + std::to_string(lineNumber) + ": " + problem,
                     StatusCode::InvalidArgument);
}

// False at the end of the input.
bool CsvReader::ReadLine() {
  ++lineNumber;
  stream.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()));
  if (stream.bad()) {
    throw CommandError(name, "cannot be read", StatusCode::IoError);
  }
  const auto taken = static_cast<std::size_t>(stream.gcount());
  if (stream.fail() && !stream.eof()) {
    Refuse("the line is too long");
  }
  if (stream.fail()) {
    return false;
  }
  line.assign(buffer.data(), stream.eof() ? taken : taken - 1);  // the line break is counted
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return true;
}

// False when only blank lines remain; one in the middle is an error.
bool CsvReader::SkipBlankLines() {
  while (ReadLine()) {
    if (!line.empty()) {
      --lineNumber;
      Refuse("the line is blank");
    }
  }
  return false;
}

void CsvReader::SplitLine() {
  fields.clear();
  std::size_t start = 0;
  for (std::size_t comma = line.find(','); comma != std::string::npos;
       comma = line.find(',', start)) {
    fields.push_back(line.substr(start, comma - start));
    start = comma + 1;
  }
  fields.push_back(line.substr(start));
}

std::size_t CsvReader::FindColumn(const std::optional<std::string>& columnName) const {
  if (columnCount < 2) {
    Refuse("the header has no value column");
  }
  if (!columnName) {
    return 1;
  }
  const auto found = std::find(fields.begin() + 1, fields.end(), *columnName);
  if (found == fields.end()) {
    Refuse("the header has no value column '" + *columnName + "'");
  }
  if (std::find(found + 1, fields.end(), *columnName) != fields.end()) {
    Refuse("the header has several columns '" + *columnName + "'");
  }
  return static_cast<std::size_t>(found - fields.begin());
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
