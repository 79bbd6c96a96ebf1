#pragma once

#include <deque>
#include <string>
#include <vector>

#include "points/point_stream.h"
#include "points/span_sum.h"
#include "points/spans.h"
#include "points/window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether spans have a function of that name.
bool IsSpanFunction(const std::string& name);

// The points of intervals of a data source whose rows are spans. Each instant of an interval counts
// once, with the value of the row that stands for it. A value is good when every second of its
// interval is known and no row that straddles a bound is longer than a tenth of it.
class SpanReader : public PointStream {
 public:
  SpanReader(const Question& askedQuestion, const Source& askedSource,
             std::optional<long long> confirmed);

  bool IsEmpty() const override { return isEmpty; }
  std::optional<long long> FindBegin() const override;
  void Tell() const override;
  void Stream(const PieceConsumer& consume) override;

 private:
  struct Column {
    double (*compute)(const SpanSum& sum, long long step);
    std::size_t part;
  };

  void AddColumn(const std::string& function);
  std::size_t FindPart(const std::string& consolidation);
  void PrepareIntervals(std::optional<long long> confirmed);

  // The bounds of the next intervals from `start` on, so many as are computed at once.
  std::vector<long long> ListBounds(Date::Date& start) const;
  Piece Compute(const std::vector<long long>& bounds);

  const Question& question;
  const Source& source;
  std::deque<SpanArchives> parts;
  std::vector<Column> columns;  // one for each function
  TimeWindow window;
  Intervals intervals;
  bool isEmpty = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
