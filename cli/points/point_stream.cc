#include "points/point_stream.h"

#include <algorithm>

#include "points/reader.h"
#include "points/span_reader.h"
#include "points/span_rows.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

namespace {

// Whether last values answer, though the file has averages, too: spans have no such function.
bool IsOfSamples(const Question& question, const Source& source) {
  const auto isSpanFunction = [](const auto& function) { return IsSpanFunction(function.first); };
  return question.interval && HasLastValues(source.file) &&
         !std::all_of(question.functions.begin(), question.functions.end(), isSpanFunction);
}

}  // namespace

std::unique_ptr<PointStream> MakePointStream(const Question& question, const Source& source,
                                             std::optional<long long> confirmed) {
  if (!source.hasSpans || IsOfSamples(question, source)) {
    return std::make_unique<Reader>(question, source, confirmed);
  }
  if (question.interval) {
    return std::make_unique<SpanReader>(question, source, confirmed);
  }
  return std::make_unique<SpanRows>(question, source, confirmed);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
