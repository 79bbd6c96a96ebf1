#pragma once

#include <string>

#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// "topo,device=d1,id=Boiler value=21.5 1262336400": the measurement is the scope, the tags are the
// labels, the field is the value, or there is a field for each of several functions. A point of an
// interval also has the field quality, true or false. Timestamps are in seconds.
class LineProtocol : public PointWriter {
 public:
  using PointWriter::PointWriter;
  void Begin(const Series& series, int round, std::string& text) override;
  void Append(const Piece& piece, std::string& text) override;
  unsigned long long GetLeftOutCount() const override { return leftOutCount; }

 private:
  std::string prefix;
  unsigned long long leftOutCount = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
