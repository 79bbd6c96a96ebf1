#pragma once

#include <string>

#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// An array of objects with the names of the CSV columns; for another database one object a line. A
// missing value is null. An infinite value is "inf" or "-inf", since JSON has no number for it.
class JsonWriter : public PointWriter {
 public:
  // Throws UsageError for a label with the name of another field.
  explicit JsonWriter(AnswerShape answerShape);

  void Begin(const Series& next, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;
  void Finish(std::string& text) override;

 private:
  Series series;
  bool hasPoints = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
