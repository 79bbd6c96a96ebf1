#pragma once

#include <deque>

#include "points/point_stream.h"
#include "points/span_window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The rows themselves of one consolidation function, of all archives, each at the time at which it
// ends. Behind a row comes that row of the finest archive that stands for the next second. So the
// row of a coarser archive within which a finer one begins is the last one of its archive, and the
// finer rows that it stands for are passed over: no time lies between two rows, and none counts
// twice.
class SpanRows : public PointStream {
 public:
  SpanRows(const Question& question, const Source& askedSource, std::optional<long long> confirmed);

  bool IsEmpty() const override { return isEmpty; }
  std::optional<long long> FindBegin() const override;
  void Tell() const override;
  void Stream(const PieceConsumer& consume) override;

 private:
  long long FindWholeEnd(long long windowEnd) const;

  const Source& source;
  std::deque<SpanArchives> parts;  // a single one
  long long begin = 0;             // rows end behind it
  long long end = 0;               // the latest one ends here
  bool isEmpty = true;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
