#pragma once

#include <string>

#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// OpenMetrics text: the family "topo_value" of gauges, or one for each of several functions, and
// then "topo_quality", 1 or 0, for points of intervals. Servers that read line protocol derive the
// same names from its fields.
class OpenMetrics : public PointWriter {
 public:
  // Throws UsageError for labels whose names are not allowed.
  explicit OpenMetrics(AnswerShape answerShape);

  // One round for each family.
  int GetRoundCount() const override {
    return static_cast<int>(shape.names.size()) + (shape.hasQuality ? 1 : 0);
  }
  void Begin(const Series& series, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;
  void Finish(std::string& text) override { text += "# EOF\n"; }

 private:
  std::string family;  // the current one
  std::string prefix;
  std::size_t column = 0;  // or behind the last one, for the quality
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
