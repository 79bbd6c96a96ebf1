#pragma once

#include <map>
#include <string>
#include <tuple>

#include "command/context.h"
#include "export/export_question.h"
#include "export/file_list.h"
#include "export/line_protocol.h"
#include "push/http_sender.h"
#include "push/push_state.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Sends what is new in files since the server last confirmed it, in batches over all of them.
class Pusher {
 public:
  Pusher(const ExportQuestion& exportQuestion, HttpSender& httpSender, PushState& pushState,
         Context& commandContext);

  // Throws SendError, after what was confirmed is saved, and Interrupted.
  void Push(const FileList& list);

  unsigned long long GetPointCount() const { return pointCount; }
  unsigned long long GetLeftOutCount() const { return format.GetLeftOutCount(); }

 private:
  void PushFile(const ListedFile& file);
  void TellGap(const Query& query, long long confirmed) const;
  void Add(const Piece& piece, const PushedSeries& series);
  void SendBatch();

  const ExportQuestion& question;
  HttpSender& sender;
  PushState& state;
  Context& context;
  LineProtocol format;
  std::string lines;
  std::map<PushedSeries, long long> reached;  // when the lines are confirmed
  unsigned long long pointCount = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
