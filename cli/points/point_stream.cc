#include "points/point_stream.h"

#include <algorithm>

#include "base/command_error.h"
#include "points/reader.h"
#include "points/span_reader.h"
#include "points/span_rows.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

namespace {

// Whether last values answer, though the file has averages, too: spans have no such function. The
// last values of a counter are rates, which do not increase.
bool IsOfSamples(const Question& question, const Source& source) {
  const auto isOfSpans = [](const auto& function) { return IsSpanFunction(function.first); };
  const auto isOfCounter = [](const auto& function) {
    return function.first == "increase" || function.first == "delta";
  };
  const auto& functions = question.functions;
  if (!question.interval || !HasLastValues(source.file) ||
      std::all_of(functions.begin(), functions.end(), isOfSpans) ||
      (source.file.dataSources[source.column].type != "GAUGE" &&
       std::any_of(functions.begin(), functions.end(), isOfCounter))) {
    return false;
  }
  if (std::any_of(functions.begin(), functions.end(), isOfSpans)) {
    throw CommandError(source.name,
                       "some of these functions are of its averages, some of its last values: ask "
                       "for them apart");
  }
  return true;
}

}  // namespace

std::vector<Source> OpenSources(const Question& question, const SelectedFile& file,
                                const std::vector<std::string>& names, Context& context) {
  return question.interval ? OpenSources(file, names, context)
                           : OpenSourcesOfRows(file, names, context);
}

Source DescribeForTurn(const Question& question, const std::vector<Source>& sources,
                       const Source& source) {
  return question.interval || &source == &sources.front() ? source : source.DescribeAgain();
}

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
