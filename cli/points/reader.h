#pragma once

#include <optional>
#include <vector>

#include "points/points.h"
#include "points/window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The answer of one file to a question: what is asked is resolved at first, then streamed in
// pieces. Every operation throws CommandError. Question and source must outlive it.
class Reader {
 public:
  // What is not later than `confirmed`, a sample or the start of an interval, is left out.
  Reader(const Question& askedQuestion, const Source& askedSource,
         std::optional<long long> confirmed = std::nullopt);

  // Whether there is no sample in the window, or nothing that is not confirmed.
  bool IsEmpty() const { return isEmpty; }

  // Tells on standard error what the user should know of the points.
  void Tell() const;

  // Whether no sample of the file starts the window, so that no point is good.
  bool IsPartialData() const { return isPartialData; }

  // Streams the samples of the window, both ends included, or the points of its intervals.
  void Stream(const PieceConsumer& consume);

 private:
  void PrepareSamples(std::optional<long long> confirmed);
  void PrepareIntervals(std::optional<long long> confirmed);
  void PrepareWhole();
  void ChooseOneArchive(long long start);
  [[noreturn]] void RefuseIncomplete() const;
  void StreamSamples(const PieceConsumer& consume);
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
