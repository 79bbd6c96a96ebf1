#pragma once

#include <string>

#include "points/point_stream.h"
#include "points/series.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A form in which series are written, one after the other. Text is appended to what is there.
class SeriesFormat {
 public:
  virtual ~SeriesFormat() = default;

  // What stands before all series. All of them have the same labels, and quality or none.
  virtual void AppendHeader(const ExportedSeries& /*first*/, std::string& /*text*/) {}

  // How often the series of a scope are to be written, all of them each time.
  virtual int GetRoundCount(const ExportedSeries& /*series*/) const { return 1; }

  // Throws CommandError for a series that has no such form.
  virtual void Begin(const ExportedSeries& series, int round, std::string& text) = 0;

  // Appends points of the series that was begun; missing values where they have a form.
  virtual void Append(const Piece& piece, std::string& text) = 0;

  // What stands behind all series.
  virtual void AppendTrailer(std::string& /*text*/) {}

  // How many values were left out, since the form has none for an infinite one.
  virtual unsigned long long GetLeftOutCount() const { return 0; }
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
