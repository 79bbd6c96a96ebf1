#pragma once

#include <memory>
#include <string>
#include <vector>

#include "points/points.h"
#include "points/question.h"
#include "points/series.h"

// The forms in which the answers of files to one question are written.
namespace nvx::TimeSeriesDatabase::CommandLine {

enum class PointFormat { Table, Csv, Json, Chart, Gnuplot, LineProtocol, OpenMetrics };

// What the answers have in common.
struct AnswerShape {
  cctz::time_zone zone;
  std::vector<std::string> names = {"value"};  // of the values of a point
  CalendarUnit unit = CalendarUnit::Minute;    // by which tables name the dates of points
  bool isSeveral = false;                      // the answers may be those of several files
  bool hasQuality = true;
  bool isForSeries = false;   // CSV and JSON are for another database, without local times
  Labels labels;              // of the series of another database, in each of them by these names
  bool isOnTerminal = false;  // tables and charts fit the terminal that is standard output
  std::vector<std::string> functions = names;  // what charts call the values
};

// Writes answers one after the other. Text is appended to what is there.
class PointWriter {
 public:
  PointWriter() = default;
  PointWriter(const PointWriter&) = delete;
  PointWriter& operator=(const PointWriter&) = delete;
  virtual ~PointWriter() = default;

  // How often the files of a scope are to be asked, all of them each time.
  virtual int GetRoundCount() const { return 1; }

  // Whether all points are held until the end.
  virtual bool IsAtOnce() const { return false; }

  // Begins the answer of a file. Throws CommandError for a series that has no such form.
  virtual void Begin(const Series& series, int round, std::string& text) = 0;

  // Appends points of the answer that was begun.
  virtual void Append(const Piece& piece, std::string& text) = 0;

  // Ends the answer, which is whole.
  virtual void End() {}

  // What stands behind all answers, of which there may be none.
  virtual void Finish(std::string& /*text*/) {}

  // How many values were left out, since the form has none for an infinite one.
  virtual unsigned long long GetLeftOutCount() const { return 0; }
};

// A new form is added to PointFormat and here. Throws UsageError for labels that it does not take.
std::unique_ptr<PointWriter> MakePointWriter(PointFormat format, const AnswerShape& shape);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
