#pragma once

#include <optional>
#include <vector>

#include "points/point_stream.h"
#include "points/window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The answer of a data source whose rows are samples.
class Reader : public PointStream {
 public:
  Reader(const Question& askedQuestion, const Source& askedSource,
         std::optional<long long> confirmed = std::nullopt);

  bool IsEmpty() const override { return isEmpty; }
  void Tell() const override;
  bool IsPartialData() const override { return isPartialData; }
  void Stream(const PieceConsumer& consume) override;

 private:
  void PrepareSamples(std::optional<long long> confirmed);
  void PrepareIntervals(std::optional<long long> confirmed);
  void PrepareWhole();
  void ChooseOneArchive(long long start);
  void StreamSamples(const PieceConsumer& consume);
  const std::string& FindConsolidation(long long time) const;
  void StreamIntervals(const PieceConsumer& consume);
  void StreamWhole(const PieceConsumer& consume);

  // The end of the intervals that are computed at once.
  Date::Date FindPieceEnd(const Date::Date& start) const;
  Piece ComputeIntervals(const TimeWindow& part);
  StatusCode ComputeQueryIntervals(const TimeWindow& part, const double* samples,
                                   unsigned int sampleCount, Piece& piece) const;
  StatusCode ComputeBounds(const TimeWindow& part, const double* samples, unsigned int sampleCount,
                           Piece& piece) const;
  Piece ComputeCut();
  Value ComputeDelta();

  // The rows that lie in a window, which is one interval.
  std::vector<double> ReadRows(const TimeWindow& interval);

  // The row of the end of a window or, where it lies between two rows, the next one.
  long long GetLastRow(const TimeWindow& part) const;

  const Question& question;
  const Source& source;
  Choices<PointFunction> functions;
  RowReader rows;
  TimeWindow window;
  Intervals intervals;
  std::vector<ChosenArchive> chosen;  // one for intervals
  long long rowOffset = 0;            // of the samples of an interval that no row starts
  bool isEmpty = false;
  bool isPartialData = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
