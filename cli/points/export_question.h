#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "points/context.h"
#include "points/file_list.h"
#include "points/point_stream.h"
#include "points/question.h"
#include "points/series.h"

// What is exported of any file, for the commands that write and send it.
namespace nvx::TimeSeriesDatabase::CommandLine {

using NamedFunction = Choices<PointFunction>::value_type;

struct ExportOptions {
  std::vector<std::string> zeltIds;
  WindowOptions window;
  std::optional<std::string> interval;
  NamedFunction function = ListPointFunctions().front();
  std::vector<std::string> labels;
};

// ID, --from, --to, --zone, --interval, --function and --label.
void AddExportOptions(CLI::App& command, ExportOptions& options);

struct ExportQuestion {
  AskedWindow window;
  std::optional<QueryInterval> interval;  // none for the samples themselves
  NamedFunction function;
  Labels labels;

  // The points are the same whatever was confirmed before: no interval ends after the file's last
  // update, and none is judged by the one that the stream happens to begin with.
  bool isResumable = false;
};

// Throws UsageError or CLI::ParseError for options that are wrong.
ExportQuestion ReadExportQuestion(const ExportOptions& options);

// What the answer of a file is sent as.
ExportedSeries MakeSeries(const ExportQuestion& question, const ListedFile& file);

// The file of an id, as OpenQuery does it.
Query OpenExportQuery(const ExportQuestion& question, const std::string& zeltId, Context& context);

enum class StreamResult {
  Done,
  Nothing,      // there is no sample, or no complete interval
  PartialData,  // no sample of the file starts the window, so that no point is good
};

// Streams the samples of the window, both ends included, or a point for each complete interval in
// it. Without a start it begins with the first sample or its interval. What is not later than
// `confirmed`, a sample or the start of an interval, is left out.
StreamResult StreamAnswer(const ExportQuestion& question, const Query& query,
                          std::optional<long long> confirmed, const PieceConsumer& consume);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
