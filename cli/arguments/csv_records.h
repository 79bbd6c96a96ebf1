#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A line of fields, or several lines where a quoted field has line breaks.
struct CsvRecord {
  std::vector<std::string> fields;
  unsigned long long line = 0;  // the number of its first line, from 1

  bool IsBlank() const { return fields.size() == 1 && fields.front().empty(); }
};

// Reads the records of RFC 4180: fields with commas between them, each as it stands or in quotes.
// Lines may end with CR LF. Every operation throws CommandError, which names the line.
class CsvRecords {
 public:
  // `sourceName` is for errors. The stream must outlive the records.
  CsvRecords(std::istream& input, const std::string& sourceName);

  // The next record, or nothing at the end.
  std::optional<CsvRecord> Read();

  [[noreturn]] void Refuse(unsigned long long number, const std::string& problem) const;

 private:
  bool ReadLine();
  bool AddLine(CsvRecord& record);
  bool AddQuoted(CsvRecord& record, std::size_t& position);

  std::istream& stream;
  std::string name;
  std::vector<char> buffer;
  std::string line;
  unsigned long long lineNumber = 0;
  bool isQuoteOpen = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
