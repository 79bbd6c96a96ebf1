#pragma once

#include <string>

#include "formats/series_format.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// "topo,device=d1,id=Boiler value=21.5 1262336400": the measurement is the scope, the tags are the
// labels, and a point of an interval also has the field quality, true or false. Timestamps are in
// seconds.
class LineProtocol : public SeriesFormat {
 public:
  void Begin(const ExportedSeries& series, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;
  unsigned long long GetLeftOutCount() const override { return leftOutCount; }

 private:
  std::string prefix;
  bool hasQuality = false;
  unsigned long long leftOutCount = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
