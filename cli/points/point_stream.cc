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

std::unique_ptr<PointStream> MakeStreamOfDescribed(const Question& question, const Source& source,
                                                   std::optional<long long> confirmed) {
  if (!source.hasSpans || IsOfSamples(question, source)) {
    return std::make_unique<Reader>(question, source, confirmed);
  }
  if (question.interval) {
    return std::make_unique<SpanReader>(question, source, confirmed);
  }
  return std::make_unique<SpanRows>(question, source, confirmed);
}

// Of a file that another process writes to: when rows have left it before they were read, it is
// described again, and the answer goes on behind what was streamed.
class LastingStream : public PointStream {
 public:
  LastingStream(const Question& askedQuestion, const Source& askedSource,
                std::optional<long long> confirmed)
      : question(askedQuestion), source(askedSource), reached(confirmed) {
    Repeat([this] { stream = MakeStreamOfDescribed(question, *source, reached); });
  }

  bool IsEmpty() const override { return stream->IsEmpty(); }
  void Tell() const override { stream->Tell(); }
  std::optional<long long> FindBegin() const override { return stream->FindBegin(); }
  bool IsPartialData() const override { return stream->IsPartialData(); }

  void Stream(const PieceConsumer& consume) override {
    Repeat([this, &consume] {
      if (stream == nullptr) {
        stream = MakeStreamOfDescribed(question, *source, reached);
      }
      if (stream->IsEmpty() && !question.isPartial) {
        return;
      }
      stream->Stream([this, &consume](const Piece& piece) {
        reached = piece.GetTime(piece.GetRowCount() - 1);
        return consume(piece);
      });
    });
  }

 private:
  // A file that only has its usual writer is not written to as often in a moment.
  template <typename Work>
  void Repeat(const Work& work) {
    constexpr int MOST_REPETITIONS = 10;
    for (int i = 0;; ++i) {
      try {
        return work();
      } catch (const RowsHaveLeft&) {
        if (i == MOST_REPETITIONS) {
          throw;
        }
      }
      stream.reset();
      source.emplace(source->DescribeAgain());
    }
  }

  const Question& question;
  std::optional<Source> source;
  std::optional<long long> reached;
  std::unique_ptr<PointStream> stream;  // of the source
};

}  // namespace

std::vector<Source> OpenSources(const Question& question, const SelectedFile& file,
                                const std::vector<std::string>& names, Context& context) {
  return question.interval ? OpenSources(file, names, context)
                           : OpenSourcesOfRows(file, names, context);
}

std::unique_ptr<PointStream> MakePointStream(const Question& question, const Source& source,
                                             std::optional<long long> confirmed) {
  return std::make_unique<LastingStream>(question, source, confirmed);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
