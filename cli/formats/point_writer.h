#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "points/points.h"
#include "points/question.h"
#include "points/series.h"

// The formats of the answers to one question.
namespace nvx::TimeSeriesDatabase::CommandLine {

enum class PointFormat { Table, Csv, Json, Chart, Gnuplot, LineProtocol, OpenMetrics };

inline const char* GetQualityText(bool isGood) { return isGood ? "good" : "bad"; }

// What the answers have in common.
struct AnswerShape {
  cctz::time_zone zone;
  std::vector<std::string> names = {"value"};  // of the values of a point
  CalendarUnit unit = CalendarUnit::Minute;    // by which tables name the dates of points
  bool isSeveral = false;                      // the answers may be those of several files
  bool hasSources = false;                     // one of the files has several data sources
  bool hasConsolidation = false;  // one of them has rows that are no samples, as they are exported
  bool hasQuality = true;
  bool isForSeries = false;   // CSV and JSON for another database, without local times
  Labels labels;              // of the series of another database; all have the same names
  bool isOnTerminal = false;  // tables and charts fit the terminal that is standard output
  std::vector<std::string> functions = names;  // what charts call the values
};

// Writes answers one after the other. Text is appended.
class PointWriter {
 public:
  explicit PointWriter(AnswerShape answerShape) : shape(std::move(answerShape)) {}
  PointWriter(const PointWriter&) = delete;
  PointWriter& operator=(const PointWriter&) = delete;
  virtual ~PointWriter() = default;

  // How many rounds the format needs: in each, all files of a scope are asked.
  virtual int GetRoundCount() const { return 1; }

  // Whether all points are held until the end.
  virtual bool IsAtOnce() const { return false; }

  // Begins the answer of a file. Throws CommandError for a series that the format cannot express.
  virtual void Begin(const Series& series, int round, std::string& text) = 0;

  // Appends points of the current answer.
  virtual void Append(const Piece& piece, std::string& text) = 0;

  // Ends the current answer, which is complete.
  virtual void End() {}

  // Appends what follows the last answer. There may have been no answer.
  virtual void Finish(std::string& /*text*/) {}

  // How many infinite values were left out because the format cannot express them.
  virtual unsigned long long GetLeftOutCount() const { return 0; }

 protected:
  // Throws UsageError for a label with the name of another field.
  void RequireDistinctLabels(const std::string& format) const;

  // For a label that the format cannot express.
  [[noreturn]] static void RefuseLabel(const Series& series, const std::string& key,
                                       const std::string& value, const std::string& format);

  AnswerShape shape;
};

// A new format is added to PointFormat and here. Throws UsageError for labels that the format does
// not allow.
std::unique_ptr<PointWriter> MakePointWriter(PointFormat format, const AnswerShape& shape);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
