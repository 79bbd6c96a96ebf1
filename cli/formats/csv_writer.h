#pragma once

#include <string>

#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A field as in RFC 4180. An id may have any character.
inline std::string QuoteCsv(const std::string& text) {
  if (text.find_first_of("\",\r\n") == std::string::npos) {
    return text;
  }
  std::string quoted = "\"";
  for (const char character : text) {
    quoted.append(character == '"' ? 2 : 1, character);
  }
  return quoted + '"';
}

// A header, then a line for each date: date, timestamp, the id if there may be several, a value for
// each function, and the quality, which is good when all values of the line are. Values have the
// shortest form that reads back to the same double: "nan" for a missing one, nothing where only
// other functions have a point. For another database: timestamp, id, labels, values, which are
// empty where they are missing, and the quality of points of intervals. `create` and `update` read
// the file of a single id.
class CsvWriter : public PointWriter {
 public:
  explicit CsvWriter(AnswerShape answerShape) : PointWriter(std::move(answerShape)) {
    RequireDistinctLabels("CSV");
  }
  void Begin(const Series& series, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;
  void Finish(std::string& text) override { AppendHeader(text); }

 private:
  void AppendHeader(std::string& text);

  std::string names;  // id and labels, which follow the timestamp in each line
  bool hasHeader = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
