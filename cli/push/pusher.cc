#include "push/pusher.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/round_up.h"
#include "base/time_text.h"
#include "base/words.h"
#include "points/archives.h"
#include "points/point_stream.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The kind of a series: other points, or the same with other labels, are another series. It is
// UTF-8, as line protocol is.
std::string DescribeKind(const Question& question, Labels labels) {
  labels.erase(ID_LABEL);
  nlohmann::json kind = nlohmann::json::array();
  if (question.interval) {
    kind = {question.interval->Identify(), Join(GetNames(question.functions), ","),
            IdentifyZone(question.zone)};
  } else {
    kind.push_back("samples");
  }
  kind.push_back(labels);
  return kind.dump();
}

AnswerShape MakeShape(const Question& question) {
  AnswerShape shape;
  shape.names = question.GetValueNames();
  shape.hasQuality = question.interval.has_value();
  return shape;
}

}  // namespace

Pusher::Pusher(const Question& pushedQuestion, const std::vector<std::string>& names,
               HttpSender& httpSender, PushState& pushState, Context& commandContext)
    : question(pushedQuestion),
      sourceNames(names),
      sender(httpSender),
      state(pushState),
      context(commandContext),
      format(MakeShape(pushedQuestion)) {}

void Pusher::Push(const Selection& selection) {
  ForEachFile(selection, context, [this](const SelectedFile& file) { PushFile(file); });
  SendBatch();
}

void Pusher::PushFile(const SelectedFile& file) {
  const std::vector<Source> sources = OpenSources(question, file, sourceNames, context);
  ForEachSource(sources, context, [&](const Source& source) {
    const bool isTold = source.column == sources.front().column;
    PushSource(file, DescribeForTurn(question, sources, source), isTold);
  });
}

void Pusher::PushSource(const SelectedFile& file, const Source& source, bool isTold) {
  std::string header;  // stays empty in line protocol
  const Series sent = MakeSeries(file, source, question.labels);
  format.Begin(sent, 0, header);
  const PushedSeries series{ResolvePath(file.directory), DescribeKind(question, sent.labels),
                            file.GetKey()};
  const std::optional<long long> confirmed = state.Find(series);
  if (confirmed && *confirmed > source.file.lastUpdate) {
    return TellOlder(source, *confirmed);
  }
  const std::unique_ptr<PointStream> stream = MakePointStream(question, source, confirmed);
  if (const auto begin = stream->FindBegin(); confirmed && begin) {
    TellLostRows(source, *confirmed, *begin);
  } else if (confirmed) {
    TellLostSamples(source, *confirmed);
  }
  if (stream->IsEmpty()) {
    return;
  }
  if (isTold) {
    stream->Tell();
  }
  if (stream->IsPartialData()) {
    context.NotePartialData();
  }
  stream->Stream([&](const Piece& piece) { return Add(piece, series); });
}

// The file was made anew.
void Pusher::TellOlder(const Source& source, long long confirmed) const {
  PrintMessage(source.name + ": its last update, " + FormatUtc(source.file.lastUpdate) +
               ", lies before what was sent, " + FormatUtc(confirmed) + ", so nothing is sent");
  context.NotePartialData();
}

long long Pusher::FindIntervalAfter(long long confirmed) const {
  Date::Date start;
  start.timeZone = question.zone;
  start.timestamp = confirmed;
  return question.interval->ComputeNext(start).timestamp;
}

// A row stands for the time before its own.
void Pusher::TellLostRows(const Source& source, long long confirmed, long long begin) const {
  const long long next = question.interval ? FindIntervalAfter(confirmed) : confirmed;
  if (begin > next) {
    TellLost(source.name + ": the rows", next, begin);
  }
}

void Pusher::TellLostSamples(const Source& source, long long confirmed) const {
  const long long next = question.interval ? FindIntervalAfter(confirmed) : confirmed + 1;
  const ChosenArchive chosen = ChooseArchive(source, next);
  const long long begin = RoundUp(next, chosen.rowLength);
  if (chosen.archive->firstTime > begin) {
    TellLost(source.name + ": the samples", begin, chosen.archive->firstTime - chosen.rowLength);
  }
}

// What had left the file before it was sent.
void Pusher::TellLost(const std::string& what, long long from, long long to) const {
  PrintMessage(what + " from " + FormatUtc(from) + " to " + FormatUtc(to) +
               " are no longer in its file, and not sent");
  context.NotePartialData();
}

// False for a series whose lines were refused: no later ones may be confirmed.
bool Pusher::Add(const Piece& piece, const PushedSeries& series) {
  // The approximate size of a request, which a small server takes in a second.
  constexpr std::size_t BATCH_SIZE = 1 << 19;
  InterruptionGuard::Check();
  if (batch.empty() || batch.back().series != series) {
    batch.push_back({series, "", 0});
  }
  Part& part = batch.back();
  const std::size_t sizeBefore = part.lines.size();
  format.Append(piece, part.lines);
  part.reached = piece.GetTime(piece.GetRowCount() - 1);
  batchSize += part.lines.size() - sizeBefore;
  if (batchSize >= std::min(BATCH_SIZE, sender.GetLargestSize())) {
    SendBatch();
  }
  return refused.count(series) == 0;
}

void Pusher::SendBatch() {
  Send(batch);
  batch.clear();
  batchSize = 0;
}

// Lines of one series that are refused must not keep the server from getting the others.
void Pusher::Send(const std::vector<Part>& parts) {
  std::string lines;
  ConfirmedTimes times;
  for (const Part& part : parts) {
    lines += part.lines;
    times[part.series] = part.reached;
  }
  try {
    if (!lines.empty()) {
      sender.Send(lines);
      pointCount += static_cast<unsigned long long>(std::count(lines.begin(), lines.end(), '\n'));
    }
    state.Confirm(times);
  } catch (const SendError& error) {
    if (!error.IsOfLines()) {
      throw;
    }
    if (parts.size() == 1) {
      return Refuse(parts.front(), error);
    }
    for (const Part& part : parts) {
      Send({part});
    }
  }
}

void Pusher::Refuse(const Part& part, const SendError& error) {
  context.TellFailure(CommandError(part.series.zeltId, error.what(), error.GetStatus()));
  refused.insert(part.series);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
