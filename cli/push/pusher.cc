#include "push/pusher.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/message.h"
#include "base/round_up.h"
#include "base/time_text.h"
#include "points/reader.h"
#include "replace/interruption.h"
#include "rrd/described_file.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// What is sent of a file: other points, or the same with other labels, are other series.
std::string DescribeKind(const Question& question, Labels labels) {
  labels.insert(question.labels.begin(), question.labels.end());
  nlohmann::json kind = nlohmann::json::array();
  if (question.interval) {
    kind = {QueryIntervalToString(*question.interval),
            CLI::detail::join(GetNames(question.functions), ","), question.zone.name()};
  } else {
    kind.push_back("samples");
  }
  kind.push_back(labels);
  return kind.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

AnswerShape MakeShape(const Question& question) {
  AnswerShape shape;
  shape.names = question.GetValueNames();
  shape.hasQuality = question.interval.has_value();
  return shape;
}

}  // namespace

Pusher::Pusher(const Question& pushedQuestion, HttpSender& httpSender, PushState& pushState,
               Context& commandContext)
    : question(pushedQuestion),
      sender(httpSender),
      state(pushState),
      context(commandContext),
      format(MakeShape(pushedQuestion)) {}

void Pusher::Push(const Selection& selection) {
  try {
    ForEachFile(selection, context, [this](const SelectedFile& file) { PushFile(file); });
    SendBatch();
  } catch (...) {
    state.Save();  // which an interruption ends as well
    throw;
  }
  state.Save();
}

void Pusher::PushFile(const SelectedFile& file) {
  const Source source(file, context);
  const PushedSeries series{ResolvePath(file.directory), DescribeKind(question, file.labels),
                            file.zeltId};
  const std::optional<long long> confirmed = state.Find(series);
  if (confirmed) {
    TellGap(source, *confirmed);
  }
  std::string header;  // of which line protocol has none
  format.Begin(file.MakeSeries(question.labels), 0, header);
  Reader reader(question, source, confirmed);
  if (reader.IsEmpty()) {
    return;
  }
  reader.Tell();
  if (reader.IsPartialData()) {
    context.NotePartialData();
  }
  reader.Stream([&](const Piece& piece) { return Add(piece, series); });
}

// What the file no longer had when it was to be sent, and a file that was made anew.
void Pusher::TellGap(const Source& source, long long confirmed) const {
  if (confirmed > source.file.lastUpdate) {
    PrintMessage(source.zeltId + ": its last update, " + FormatUtc(source.file.lastUpdate) +
                 ", lies before what was sent, " + FormatUtc(confirmed) + ", so nothing is sent");
    context.NotePartialData();
    return;
  }
  long long next = confirmed + 1;
  if (question.interval) {
    Date::Date start;
    start.timeZone = question.zone;
    start.timestamp = confirmed;
    TimeHelper::ComputeNextDate(*question.interval, Date::Date(start), start);
    next = start.timestamp;
  }
  const Rrd::ArchiveDescription& archive = RequireArchive(source.file, next, source.zeltId);
  const auto step = static_cast<long long>(GetRowLength(source.file, archive));
  next = RoundUp(next, step);
  if (archive.firstTime > next) {
    PrintMessage(source.zeltId + ": the samples from " + FormatUtc(next) + " to " +
                 FormatUtc(archive.firstTime - step) + " are no longer in its file, and not sent");
    context.NotePartialData();
  }
}

// False for a series whose lines were refused: nothing behind them may be confirmed.
bool Pusher::Add(const Piece& piece, const PushedSeries& series) {
  // What a request has, about, which a small server takes in a second.
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
  if (batchSize >= BATCH_SIZE) {
    SendBatch();
  }
  return refused.count(series) == 0;
}

void Pusher::SendBatch() {
  std::string lines;
  lines.reserve(batchSize);
  for (const Part& part : batch) {
    lines += part.lines;
  }
  try {
    Send(lines);
    std::for_each(batch.begin(), batch.end(), [this](const Part& part) { Confirm(part); });
  } catch (const SendError& error) {
    if (!error.IsOfLines()) {
      throw;
    }
    batch.size() == 1 ? Refuse(batch.front(), error) : SendApart();
  }
  batch.clear();
  batchSize = 0;
  state.SaveSometimes();
}

// What a server finds fault with in one series is not to keep it from the others.
void Pusher::SendApart() {
  for (const Part& part : batch) {
    try {
      Send(part.lines);
      Confirm(part);
    } catch (const SendError& error) {
      if (!error.IsOfLines()) {
        throw;
      }
      Refuse(part, error);
    }
  }
}

void Pusher::Refuse(const Part& part, const SendError& error) {
  PrintMessage(CommandError(part.series.zeltId, error.what(), error.GetStatus()).GetText());
  context.exitStatus = EXIT_FAILED;
  refused.insert(part.series);
}

void Pusher::Send(const std::string& lines) {
  if (!lines.empty()) {
    sender.Send(lines);
    pointCount += static_cast<unsigned long long>(std::count(lines.begin(), lines.end(), '\n'));
  }
}

void Pusher::Confirm(const Part& part) { state.Set(part.series, part.reached); }

}  // namespace nvx::TimeSeriesDatabase::CommandLine
