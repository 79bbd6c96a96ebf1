#include "points/reader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "base/command_error.h"
#include "base/round_up.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/rrd/interval_processor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long PIECE_LENGTH = 4096;

long long RoundDown(long long time, long long step) { return time - ((time % step) + step) % step; }

// A value for each function of a run, which is one interval.
StatusCode Compute(const Choices<PointFunction>& functions, const double* first, const double* last,
                   Piece& piece) {
  for (const auto& function : functions) {
    Value value;
    const StatusCode status = function.second.compute(first, last, value.number, value.isGood);
    if (status != StatusCode::Success) {
      return status;
    }
    piece.AddValue(value);
  }
  return StatusCode::Success;
}

// The function's value for a whole window. The window is not a run between two others: two samples
// are not a single step, and unless a sample lies on its end, the last one belongs to it.
Value ComputeWhole(const PointFunction& function, std::vector<double> samples,
                   bool endsWithSample) {
  constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();
  const bool isPair = samples.size() == 2 && !function.leavesOutBoundary;
  const bool isAlone = isPair && !function.isIntegral;
  if (isAlone || samples.empty() || (function.leavesOutBoundary && !endsWithSample)) {
    samples.push_back(MISSING);
  }
  Value value;
  Require(function.compute(&samples.front(), &samples.back(), value.number, value.isGood), "all",
          "no answer");
  if (isPair) {
    value.isGood = !std::isnan(samples[0]) && !std::isnan(samples[1]);
  }
  return value;
}

}  // namespace

Reader::Reader(const Question& askedQuestion, const Source& askedSource,
               std::optional<long long> confirmed)
    : question(askedQuestion),
      source(askedSource),
      functions(askedQuestion.functions),
      rows(askedSource) {
  window = ResolveWindow(question, source, rows, confirmed);
  if (!question.interval) {
    PrepareSamples(confirmed);
    return;
  }
  if (!confirmed) {
    RequireForward(question, source, window);
  }
  question.interval->IsWhole() ? PrepareWhole() : PrepareIntervals(confirmed);
}

void Reader::PrepareSamples(std::optional<long long> confirmed) {
  long long first = std::max({window.start.timestamp, GetOldestRow(source), EARLIEST_SAMPLE});
  window.end.timestamp = std::min(window.end.timestamp, source.file.lastUpdate);
  chosen = ChooseArchives(source, first, window.end.timestamp);
  window.start.timestamp = confirmed ? std::max(first, *confirmed + 1) : first;
  isEmpty = window.start.timestamp > window.end.timestamp;
}

void Reader::PrepareIntervals(std::optional<long long> confirmed) {
  const std::optional<Intervals> found = FindIntervals(question, window);
  if (!found && !confirmed) {
    RefuseIncomplete(question, source, window);
  }
  isEmpty = !found;
  if (isEmpty) {
    return;
  }
  intervals = *found;
  TimeWindow& complete = intervals.complete;
  ChooseOneArchive(complete.start.timestamp);
  if (intervals.cut) {
    RequireBounded(question, source, chosen.front(), *intervals.cut);
  }
  if (complete.start.timestamp == complete.end.timestamp) {
    return;
  }
  if (confirmed) {
    SkipConfirmed(question, *confirmed, window, complete);
    isEmpty = complete.start.timestamp >= complete.end.timestamp;
  }
  const bool isOnRow = HasBoundOnRow(question, chosen.front().rowLength, complete.start);
  rowOffset = isOnRow ? 0 : chosen.front().rowLength;
  isPartialData = !isOnRow || complete.start.timestamp < EARLIEST_SAMPLE;
  if (!isEmpty) {
    RequireBounded(question, source, chosen.front(), complete);
    RequireEndOnBound(question, source, complete);
  }
}

// The delta of a window is the library's, over whole hours, and needs a sample at its start.
void Reader::PrepareWhole() {
  const auto isDelta = [](const auto& function) { return function.second.isDelta; };
  intervals.complete = window;
  if (std::any_of(functions.begin(), functions.end(), isDelta)) {
    const std::optional<Intervals> found = FindIntervals(question, window);
    if (!found) {
      RefuseIncomplete(question, source, window);
    }
    intervals = *found;
  }
  const bool isAllDelta = std::all_of(functions.begin(), functions.end(), isDelta);
  const long long hours = intervals.complete.start.timestamp;
  ChooseOneArchive(isAllDelta ? hours : window.start.timestamp);
  RequireBounded(question, source, chosen.front(), window);
  isPartialData = std::any_of(functions.begin(), functions.end(), isDelta) &&
                  (hours % chosen.front().rowLength != 0 || hours < EARLIEST_SAMPLE);
}

// An integral depends on the length of the archive's rows.
void Reader::ChooseOneArchive(long long start) {
  chosen = {ChooseArchive(source, start)};
  for (auto& function : functions) {
    if (function.second.isIntegral) {
      const auto step = static_cast<unsigned long>(chosen.front().rowLength);
      Require(DataFunctions::MakeIntegral(step, function.second.compute), source.name,
              "no integral");
    }
  }
}

void Reader::Tell() const {
  TellArchives(source, chosen);
  if (question.interval && !question.interval->IsWhole()) {
    TellRepeatedRows(source, chosen.front(), question.intervalName,
                     GetIntervalLength(question, intervals.complete));
  }
  if (isPartialData) {
    PrintMessage(CommandError(source.name,
                              "no sample of the file starts the window, so no point is good",
                              StatusCode::PartialData)
                     .GetText());
  }
}

void Reader::Stream(const PieceConsumer& consume) {
  if (!question.interval) {
    StreamSamples(consume);
  } else if (question.interval->IsWhole()) {
    StreamWhole(consume);
  } else {
    StreamIntervals(consume);
  }
}

void Reader::StreamSamples(const PieceConsumer& consume) {
  rows.ReadAll(chosen, window.start.timestamp, window.end.timestamp,
               [&](long long time, const double* values, long long count, long long length) {
                 Piece piece(1);
                 for (long long i = 0; i < count; ++i) {
                   piece.AddTime(time + i * length);
                   piece.AddValue({values[i], !std::isnan(values[i])});
                 }
                 source.context.rowTally.Add(FindConsolidation(time), length, values, count);
                 return consume(piece);
               });
}

// That of the archive which answers for a sample.
const std::string& Reader::FindConsolidation(long long time) const {
  const auto next = std::find_if(chosen.begin() + 1, chosen.end(),
                                 [time](const ChosenArchive& one) { return one.begin > time; });
  return (next - 1)->archive->consolidation;
}

void Reader::StreamIntervals(const PieceConsumer& consume) {
  const Date::Date& end = intervals.complete.end;
  TimeWindow piece = intervals.complete;
  while (piece.start.timestamp < end.timestamp) {
    piece.end = FindPieceEnd(piece.start);
    if (!consume(ComputeIntervals(piece))) {
      return;
    }
    piece.start = piece.end;
  }
  if (intervals.cut) {
    consume(ComputeCut());
  }
}

void Reader::StreamWhole(const PieceConsumer& consume) {
  const std::vector<double> samples = ReadRows(window);
  const bool endsWithSample = window.end.timestamp % chosen.front().rowLength == 0;
  const Value notAsked{std::numeric_limits<double>::quiet_NaN(), false, false};
  std::map<long long, std::vector<Value>> points;
  for (std::size_t i = 0; i < functions.size(); ++i) {
    const PointFunction& function = functions[i].second;
    const TimeWindow& own = function.isDelta ? intervals.complete : window;
    std::vector<Value>& values =
        points.try_emplace(own.start.timestamp, functions.size(), notAsked).first->second;
    values[i] = function.isDelta ? ComputeDelta() : ComputeWhole(function, samples, endsWithSample);
  }
  Piece piece(functions.size());
  for (const auto& [time, values] : points) {
    piece.AddTime(time);
    std::for_each(values.begin(), values.end(),
                  [&piece](const Value& value) { piece.AddValue(value); });
  }
  consume(piece);
}

Date::Date Reader::FindPieceEnd(const Date::Date& start) const {
  const Date::Date& end = intervals.complete.end;
  const long long longest = RowReader::ROW_COUNT * chosen.front().rowLength;
  Date::Date bound = start;
  long long count = 0;
  do {
    bound = question.interval->ComputeNext(bound);
    ++count;
  } while (bound.timestamp < end.timestamp && count < PIECE_LENGTH &&
           bound.timestamp - start.timestamp < longest);
  return bound;
}

// The samples of a run lie where the library finds them in a fetch of the whole window.
Piece Reader::ComputeIntervals(const TimeWindow& part) {
  const long long length = chosen.front().rowLength;
  const long long first = RoundDown(part.start.timestamp, length) + rowOffset;
  const long long last =
      std::min(RoundDown(part.end.timestamp, length) + rowOffset, GetLastRow(intervals.complete));
  const double* const samples = rows.Read(chosen.front(), first, last, GetLastRow(window));
  const auto sampleCount = static_cast<unsigned int>((last - first) / length + 1);
  Piece piece(functions.size());
  const StatusCode status = question.interval->GetQueryInterval()
                                ? ComputeQueryIntervals(part, samples, sampleCount, piece)
                                : ComputeBounds(part, samples, sampleCount, piece);
  Require(status, source.name, "no answer for " + TimeWindowToString(part));
  if (isPartialData) {
    piece.SetAllBad();
  }
  return piece;
}

StatusCode Reader::ComputeQueryIntervals(const TimeWindow& part, const double* samples,
                                         unsigned int sampleCount, Piece& piece) const {
  const DataFunction compute = [&](const double* first, const double* last, double& /*value*/,
                                   bool& /*isGood*/) {
    return Compute(functions, first, last, piece);
  };
  Rrd::IntervalIterator iterator(part, samples,
                                 static_cast<unsigned long long>(chosen.front().rowLength),
                                 *question.interval->GetQueryInterval(), sampleCount);
  std::vector<NumericalDataPoint> points;
  const StatusCode status = Rrd::IntervalProcessor(compute, iterator).Process(points);
  for (const NumericalDataPoint& point : points) {
    piece.AddTime(point.date.timestamp);
  }
  return status;
}

// Cuts the runs as the library does.
StatusCode Reader::ComputeBounds(const TimeWindow& part, const double* samples,
                                 unsigned int sampleCount, Piece& piece) const {
  const long long length = chosen.front().rowLength;
  const long long begin = RoundDown(part.start.timestamp, length);
  const double* first = samples;
  Date::Date bound = part.start;
  StatusCode status = StatusCode::Success;
  while (bound < part.end && status == StatusCode::Success) {
    piece.AddTime(bound.timestamp);
    bound = question.interval->ComputeNext(bound);
    const long long position = (RoundDown(bound.timestamp, length) - begin) / length;
    const double* const last = samples + std::min<long long>(position, sampleCount - 1);
    status = Compute(functions, first, last, piece);
    first = last;
  }
  return status;
}

// The sample that ends the interval is still to come or was cut off; an integral ends with the last
// sample.
Piece Reader::ComputeCut() {
  std::vector<double> samples = ReadRows(*intervals.cut);
  samples.push_back(std::numeric_limits<double>::quiet_NaN());
  Piece piece(functions.size());
  piece.AddTime(intervals.cut->start.timestamp);
  for (const auto& [name, function] : functions) {
    const bool endsBefore = function.isIntegral && samples.size() > 1;
    const double* const last = &samples.back() - (endsBefore ? 1 : 0);
    Value value;
    Require(function.compute(&samples.front(), last, value.number, value.isGood), source.name,
            "no answer for " + TimeWindowToString(*intervals.cut));
    piece.AddValue(value);
  }
  piece.SetAllBad();
  return piece;
}

// A fetch goes on to the row after an end between two rows.
Value Reader::ComputeDelta() {
  const TimeWindow& hours = intervals.complete;
  const long long length = chosen.front().rowLength;
  const long long last = GetLastRow(hours);
  const long long first = RoundDown(hours.start.timestamp + length - 1, length);
  const double* const samples = rows.Read(chosen.front(), first, last, last);
  Value value;
  Require(DataFunctions::ComputeDelta(samples, samples + (last - first) / length, value.number,
                                      value.isGood),
          source.name, "no answer for " + TimeWindowToString(hours));
  value.isGood = value.isGood && !isPartialData;
  return value;
}

std::vector<double> Reader::ReadRows(const TimeWindow& interval) {
  const long long length = chosen.front().rowLength;
  const long long end = interval.end.timestamp;
  const long long start = std::max(interval.start.timestamp, EARLIEST_SAMPLE);
  const long long first = RoundUp(start, length);
  if (first > end) {
    return {};
  }
  const long long last = end - end % length;
  const double* const samples = rows.Read(chosen.front(), first, last, GetLastRow(window));
  return {samples, samples + (last - first) / length + 1};
}

long long Reader::GetLastRow(const TimeWindow& part) const {
  const long long length = chosen.front().rowLength;
  return RoundDown(part.end.timestamp + length - 1, length);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
