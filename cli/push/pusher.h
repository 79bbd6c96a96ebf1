#pragma once

#include <set>
#include <string>
#include <vector>

#include "formats/line_protocol.h"
#include "points/context.h"
#include "points/question.h"
#include "points/selected_files.h"
#include "points/source.h"
#include "push/http_sender.h"
#include "push/push_state.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Sends what the server has not confirmed yet, in batches across all files.
class Pusher {
 public:
  Pusher(const Question& pushedQuestion, const std::vector<std::string>& names,
         HttpSender& httpSender, PushState& pushState, Context& commandContext);

  // Throws SendError and Interrupted.
  void Push(const Selection& selection);

  unsigned long long GetPointCount() const { return pointCount; }
  unsigned long long GetLeftOutCount() const { return format.GetLeftOutCount(); }

 private:
  // Lines of one series, and how far the series is confirmed once they are.
  struct Part {
    PushedSeries series;
    std::string lines;
    long long reached;
  };

  void PushFile(const SelectedFile& file);
  void PushSource(const SelectedFile& file, const Source& source, bool isTold);
  void TellOlder(const Source& source, long long confirmed) const;
  long long FindIntervalAfter(long long confirmed) const;
  void TellLostRows(const Source& source, long long confirmed, long long begin) const;
  void TellLostSamples(const Source& source, long long confirmed) const;
  void TellLost(const std::string& what, long long from, long long to) const;
  bool Add(const Piece& piece, const PushedSeries& series);
  void SendBatch();
  void Send(const std::vector<Part>& parts);
  void Refuse(const Part& part, const SendError& error);

  const Question& question;
  const std::vector<std::string>& sourceNames;
  HttpSender& sender;
  PushState& state;
  Context& context;
  LineProtocol format;
  std::vector<Part> batch;
  std::size_t batchSize = 0;
  std::set<PushedSeries> refused;
  unsigned long long pointCount = 0;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
