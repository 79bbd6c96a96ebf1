#include "points/export_question.h"

#include <algorithm>

#include "arguments/interval_text.h"
#include "base/command_error.h"
#include "points/answer.h"
#include "points/selected_files.h"
#include "timeseries/date/time_round_helper.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The first and the last second of the samples that are meant; nothing when there are none.
std::optional<std::pair<long long, long long>> FindSpan(const ExportQuestion& question,
                                                        const Query& query,
                                                        std::optional<long long> confirmed) {
  const AskedWindow& asked = question.window;
  const FileTimes times = GetFileTimes(query);
  long long last = asked.to ? asked.to->Resolve(times) : query.file.lastUpdate;
  if (question.isResumable) {
    last = std::min(last, query.file.lastUpdate);
  }
  if (asked.from) {
    return {{asked.from->Resolve(times), last}};
  }
  if (confirmed) {
    return {{std::max(*confirmed + 1, GetOldestRow(query)), last}};
  }
  const long long first = GetFirstRow(query);
  const std::optional<long long> firstSample = FindFirstSample(query, first, last);
  return firstSample ? std::optional(std::pair(*firstSample, last)) : std::nullopt;
}

// The complete intervals from that of the first sample on.
TimeWindow FindIntervals(const ExportQuestion& question, const Query& query,
                         const std::pair<long long, long long>& span,
                         std::optional<long long> confirmed) {
  TimeWindow window;
  window.start.timeZone = question.window.zone;
  window.end.timeZone = question.window.zone;
  window.start.timestamp = span.first;
  window.end.timestamp = span.second;
  if (!question.window.from && !confirmed) {
    window.start =
        FindIntervalStart(query, window.start, query.file.FindArchive(window.start.timestamp));
  }
  if (confirmed && *confirmed + 1 >= window.start.timestamp) {
    Date::Date last = window.start;
    last.timestamp = *confirmed;
    TimeHelper::ComputeNextDate(query.interval, last, window.start);
  }
  Date::TimeRoundHelper::RoundUpTime(query.interval, window.start);
  Date::TimeRoundHelper::RoundDownTime(query.interval, window.end);
  return window;
}

// Of the time that the file does not cover, no more is answered for than by a query.
void RequireBounded(const Query& query, const TimeWindow& window) {
  TimeWindow before = window;
  before.end.timestamp = std::max(window.start.timestamp, GetOldestRow(query));
  RequireBoundedPoints(query, before);
  TimeWindow behind = window;
  behind.start.timestamp = std::min(window.end.timestamp, query.file.lastUpdate);
  RequireBoundedPoints(query, behind);
}

StreamResult StreamWhole(const ExportQuestion& question, const Query& query,
                         const PieceConsumer& consume) {
  const Question whole{question.window, query.interval, {question.function}, false, false};
  const Answer answer = FindAnswer(whole, query);
  const NumericalDataPoint& point = answer.series.front().front();
  consume({{point.date.timestamp, point.value, point.quality}});
  return StreamResult::Done;
}

// The library judges all intervals of a window by whether its start lies on a row. So the stream
// begins with an earlier interval that does, if there is one, and what was not asked for is left
// out.
StreamResult StreamFromRow(const Query& query, const PointFunction& function,
                           const TimeWindow& window, const PieceConsumer& consume) {
  TimeWindow longer = window;
  longer.start = FindStartOnRow(query, window.start);
  const auto consumeAsked = [&](const Piece& piece) {
    if (piece.empty() || piece.front().timestamp >= window.start.timestamp) {
      return consume(piece);
    }
    const auto asked = std::find_if(piece.begin(), piece.end(), [&](const StreamedPoint& point) {
      return point.timestamp >= window.start.timestamp;
    });
    return asked == piece.end() || consume(Piece(asked, piece.end()));
  };
  return StreamIntervals(query, function, longer, consumeAsked) ? StreamResult::Done
                                                                : StreamResult::PartialData;
}

}  // namespace

void AddExportOptions(CLI::App& command, ExportOptions& options) {
  command.add_option("ID", options.zeltIds, "Data sources (default: all of the directory)")
      ->type_name("");
  AddWindowOptions(command, options.window);
  CLI::Option* const interval =
      command
          .add_option("--interval", options.interval,
                      "Length of the intervals, each of which is a point (default: the samples "
                      "themselves)")
          ->type_name("INTERVAL");
  Choices<NamedFunction> functions;
  for (const NamedFunction& function : ListPointFunctions()) {
    functions.emplace_back(function.first, function);
  }
  AddChoice(command, "--function", options.function, functions,
            "average (default), minimum, maximum, sum, count, increase or delta")
      ->type_name("FUNCTION")
      ->needs(interval);
  command
      .add_option("--label", options.labels,
                  "What tells these series from others, beside the id; may be repeated")
      ->type_name("KEY=VALUE")
      ->allow_extra_args(false);
}

ExportQuestion ReadExportQuestion(const ExportOptions& options) {
  ExportQuestion question;
  question.window = ReadWindow(options.window);
  if (options.interval) {
    question.interval = ReadInterval(*options.interval);
  }
  question.function = options.function;
  question.labels = ReadLabels(options.labels);
  return question;
}

ExportedSeries MakeSeries(const ExportQuestion& question, const ListedFile& file) {
  ExportedSeries series{file.GetScope(), question.labels, question.interval.has_value()};
  series.labels.insert(file.labels.begin(), file.labels.end());
  series.labels[ID_LABEL] = file.zeltId.substr(series.scope.size() + 1);
  return series;
}

Query OpenExportQuery(const ExportQuestion& question, const std::string& zeltId, Context& context) {
  return OpenQuery(zeltId, question.interval.value_or(QueryInterval::OneMinute), context);
}

StreamResult StreamAnswer(const ExportQuestion& question, const Query& query,
                          std::optional<long long> confirmed, const PieceConsumer& consume) {
  if (question.interval == QueryInterval::FullPeriod) {
    return StreamWhole(question, query, consume);
  }
  const auto span = FindSpan(question, query, confirmed);
  if (!span) {
    return StreamResult::Nothing;
  }
  if (!question.interval) {
    const long long first = confirmed ? std::max(span->first, *confirmed + 1) : span->first;
    StreamSamples(query, first, span->second, consume);
    return first <= span->second ? StreamResult::Done : StreamResult::Nothing;
  }
  const TimeWindow window = FindIntervals(question, query, *span, confirmed);
  if (window.start.timestamp >= window.end.timestamp) {
    return StreamResult::Nothing;
  }
  RequireBounded(query, window);
  if (question.isResumable) {
    return StreamFromRow(query, question.function.second, window, consume);
  }
  return StreamIntervals(query, question.function.second, window, consume)
             ? StreamResult::Done
             : StreamResult::PartialData;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
