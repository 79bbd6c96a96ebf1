#include "push/pusher.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "base/message.h"
#include "base/time_text.h"
#include "points/answer.h"
#include "replace/interruption.h"
#include "rrd/described_file.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// What is sent of a file: other points, or the same with other labels, are other series.
std::string DescribeKind(const ExportQuestion& question, Labels labels) {
  labels.insert(question.labels.begin(), question.labels.end());
  nlohmann::json kind = nlohmann::json::array();
  if (question.interval) {
    kind = {QueryIntervalToString(*question.interval), question.function.first,
            question.window.zone.name()};
  } else {
    kind.push_back("samples");
  }
  kind.push_back(labels);
  return kind.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string Resolve(const std::string& directory) {
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::canonical(directory, error);
  return error ? directory : resolved.string();
}

}  // namespace

Pusher::Pusher(const ExportQuestion& exportQuestion, HttpSender& httpSender, PushState& pushState,
               Context& commandContext)
    : question(exportQuestion), sender(httpSender), state(pushState), context(commandContext) {}

void Pusher::Push(const FileList& list) {
  try {
    ForEachFile(list, context, [this](const ListedFile& file) { PushFile(file); });
    SendBatch();
  } catch (...) {
    state.Save();  // which an interruption ends as well
    throw;
  }
  state.Save();
}

void Pusher::PushFile(const ListedFile& file) {
  const Query query = OpenExportQuery(question, file.zeltId, context);
  const ExportedSeries exported = MakeSeries(question, file);
  const PushedSeries series{Resolve(file.directory), DescribeKind(question, file.labels),
                            file.zeltId};
  const std::optional<long long> confirmed = state.Find(series);
  if (confirmed) {
    TellGap(query, *confirmed);
  }
  std::string header;  // of which line protocol has none
  format.Begin(exported, 0, header);
  const StreamResult result = StreamAnswer(question, query, confirmed,
                                           [&](const Piece& piece) { return Add(piece, series); });
  if (result == StreamResult::PartialData) {
    TellPartialData(query);
    context.NotePartialData();
  }
}

// What the file no longer had when it was to be sent, and a file that was made anew.
void Pusher::TellGap(const Query& query, long long confirmed) const {
  if (confirmed > query.file.lastUpdate) {
    PrintMessage(query.zeltId + ": its last update, " + FormatUtc(query.file.lastUpdate) +
                 ", lies before what was sent, " + FormatUtc(confirmed) + ", so nothing is sent");
    context.NotePartialData();
    return;
  }
  long long next = confirmed + 1;
  if (question.interval) {
    Date::Date start;
    start.timeZone = question.window.zone;
    start.timestamp = confirmed;
    TimeHelper::ComputeNextDate(query.interval, start, start);
    next = start.timestamp;
  }
  const Rrd::ArchiveDescription& archive = RequireArchive(query.file, next, query.zeltId);
  const auto step = static_cast<long long>(GetRowLength(query.file, archive));
  next = (next + step - 1) / step * step;
  if (archive.firstTime > next) {
    PrintMessage(query.zeltId + ": the samples from " + FormatUtc(next) + " to " +
                 FormatUtc(archive.firstTime - step) + " are no longer in its file, and not sent");
    context.NotePartialData();
  }
}

// False for a series whose lines were refused: nothing behind them may be confirmed.
bool Pusher::Add(const Piece& piece, const PushedSeries& series) {
  // What a request has, about, which a small server takes in a second.
  constexpr std::size_t BATCH_SIZE = 1 << 19;
  constexpr std::size_t SLICE_LENGTH = 1000;
  for (std::size_t begin = 0; begin < piece.size(); begin += SLICE_LENGTH) {
    InterruptionGuard::Check();
    const std::size_t end = std::min(piece.size(), begin + SLICE_LENGTH);
    const Piece slice(piece.begin() + static_cast<std::ptrdiff_t>(begin),
                      piece.begin() + static_cast<std::ptrdiff_t>(end));
    if (batch.empty() || batch.back().series != series) {
      batch.push_back({series, "", 0});
    }
    Part& part = batch.back();
    const std::size_t sizeBefore = part.lines.size();
    format.Append(slice, part.lines);
    part.reached = slice.back().timestamp;
    batchSize += part.lines.size() - sizeBefore;
    if (batchSize >= BATCH_SIZE) {
      SendBatch();
    }
    if (refused.count(series) > 0) {
      return false;
    }
  }
  return true;
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
