#pragma once

#include <string>

#include "formats/series_format.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// OpenMetrics text: the family "topo_value" of gauges, and after it "topo_quality", 1 or 0, for
// points of intervals. These are the names that readers of line protocol make of its fields.
class OpenMetrics : public SeriesFormat {
 public:
  // Throws UsageError for labels whose names are not allowed.
  explicit OpenMetrics(const Labels& labels);

  int GetRoundCount(const ExportedSeries& series) const override {
    return series.hasQuality ? 2 : 1;
  }
  void Begin(const ExportedSeries& series, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;
  void AppendTrailer(std::string& text) override { text += "# EOF\n"; }

 private:
  std::string family;  // the last one that was begun
  std::string prefix;
  bool isQuality = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
