#include "arguments/csv_records.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Longer records are no samples; without a bound an endless one would fill the memory.
constexpr std::size_t MAXIMUM_RECORD_SIZE = 65536;

constexpr char QUOTE = '"';

constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";

}  // namespace

CsvRecords::CsvRecords(std::istream& input, const std::string& sourceName)
    : stream(input), name(sourceName), buffer(MAXIMUM_RECORD_SIZE) {}

std::optional<CsvRecord> CsvRecords::Read() {
  if (!ReadLine()) {
    return std::nullopt;
  }
  CsvRecord record;
  record.line = lineNumber;
  std::size_t size = line.size();
  while (!AddLine(record)) {
    if (!ReadLine()) {
      Refuse(record.line, "a quote is not closed");
    }
    size += line.size() + 1;
    if (size >= MAXIMUM_RECORD_SIZE) {
      Refuse(record.line, "the lines of a quote are too long");
    }
  }
  return record;
}

void CsvRecords::Refuse(unsigned long long number, const std::string& problem) const {
  throw CommandError(name, "line " + std::to_string(number) + ": " + problem);
}

// False at the end of the input.
bool CsvRecords::ReadLine() {
  ++lineNumber;
  errno = 0;
  stream.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()));
  if (stream.bad()) {
    const std::string reason = errno == 0 ? "" : ": " + std::generic_category().message(errno);
    throw CommandError(name, "cannot be read" + reason, StatusCode::IoError);
  }
  const auto taken = static_cast<std::size_t>(stream.gcount());
  if (stream.fail() && !stream.eof()) {
    Refuse(lineNumber, "the line is too long");
  }
  if (stream.fail()) {
    return false;
  }
  line.assign(buffer.data(), stream.eof() ? taken : taken - 1);  // the line break is counted
  if (lineNumber == 1 && line.rfind(BYTE_ORDER_MARK, 0) == 0) {
    line.erase(0, sizeof BYTE_ORDER_MARK - 1);
  }
  return true;
}

// False when the line ends within quotes.
bool CsvRecords::AddLine(CsvRecord& record) {
  const bool hasReturn = !line.empty() && line.back() == '\r';
  if (hasReturn) {
    line.pop_back();
  }
  std::size_t position = 0;
  do {
    if (!isQuoteOpen) {
      record.fields.emplace_back();
      isQuoteOpen = position < line.size() && line[position] == QUOTE;
      position += isQuoteOpen ? 1 : 0;
    }
    if (isQuoteOpen) {
      if (!AddQuoted(record, position)) {
        record.fields.back() += hasReturn ? "\r\n" : "\n";
        return false;
      }
    } else {
      const std::size_t start = position;
      position = std::min(line.find(',', start), line.size());
      record.fields.back().assign(line, start, position - start);
    }
  } while (position++ < line.size());
  return true;
}

// Adds the text before the quote that ends a field, and moves the position behind that quote; false
// when the line has none.
bool CsvRecords::AddQuoted(CsvRecord& record, std::size_t& position) {
  for (;;) {
    const std::size_t quote = std::min(line.find(QUOTE, position), line.size());
    record.fields.back().append(line, position, quote - position);
    if (quote == line.size()) {
      return false;
    }
    position = quote + 1;
    if (position == line.size() || line[position] == ',') {
      isQuoteOpen = false;
      return true;
    }
    if (line[position] != QUOTE) {
      Refuse(record.line, "text after a closing quote");
    }
    record.fields.back() += QUOTE;
    ++position;
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
