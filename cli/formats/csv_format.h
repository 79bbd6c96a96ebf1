#pragma once

#include <string>

#include "formats/series_format.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Lines of the timestamp, the id, the labels and the value, which is empty where it is missing; of
// points of intervals also "good" or "bad". The first line names the columns. What is of one id can
// be stored again.
class CsvFormat : public SeriesFormat {
 public:
  void AppendHeader(const ExportedSeries& first, std::string& text) override;
  void Begin(const ExportedSeries& series, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;

 private:
  std::string names;
  bool hasQuality = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
