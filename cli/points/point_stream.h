#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "points/points.h"
#include "points/question.h"
#include "points/source.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The answer of one data source to a question: what is asked is resolved at first, then streamed in
// pieces. Every operation throws CommandError.
class PointStream {
 public:
  PointStream() = default;
  PointStream(const PointStream&) = delete;
  PointStream& operator=(const PointStream&) = delete;
  virtual ~PointStream() = default;

  // Whether there is no sample in the window, or nothing that is not confirmed.
  virtual bool IsEmpty() const = 0;

  // Tells on standard error what the user should know of the points.
  virtual void Tell() const = 0;

  // Where the rows of averages, minima or maxima begin that answer; nothing for samples.
  virtual std::optional<long long> FindBegin() const { return std::nullopt; }

  // Whether no sample of the file starts the window, so that no point is good.
  virtual bool IsPartialData() const { return false; }

  // Streams the samples of the window, both ends included, or the points of its intervals.
  virtual void Stream(const PieceConsumer& consume) = 0;
};

// The data sources of a file that answer a question: those of these names, or all. Of one for the
// rows themselves, each consolidation function answers on its own.
std::vector<Source> OpenSources(const Question& question, const SelectedFile& file,
                                const std::vector<std::string>& names, Context& context);

// One of the sources as it is when its turn comes: while those before it were streamed, its writer
// may have gone on. The points of intervals of all of them follow from one description.
Source DescribeForTurn(const Question& question, const std::vector<Source>& sources,
                       const Source& source);

// The stream for a question and a source, which must outlive it. What is not later than
// `confirmed`, a sample or the start of an interval, is left out.
std::unique_ptr<PointStream> MakePointStream(const Question& question, const Source& source,
                                             std::optional<long long> confirmed = std::nullopt);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
