#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "points/point_function.h"
#include "points/query.h"
#include "timeseries/time_window.h"

// The samples and points of one file in pieces, so that memory does not grow with their window.
// Every operation throws CommandError.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct StreamedPoint {
  long long timestamp;  // of a sample, or of the start of an interval
  double value;         // NaN when it is missing
  bool isGood;
};

using Piece = std::vector<StreamedPoint>;

// Takes the pieces in the order of their times; false when it wants no more of them.
using PieceConsumer = std::function<bool(const Piece&)>;

// Streams the rows from `first` to `last`, both included. Where several archives of the file
// answer, each time is that of the finest one that reaches back to it.
void StreamSamples(const Query& query, long long first, long long last,
                   const PieceConsumer& consume);

// The time of the oldest row of any archive.
long long GetOldestRow(const Query& query);

// The time of the first row that is not missing.
std::optional<long long> FindFirstSample(const Query& query, long long first, long long last);

// The nearest bound, from `start` back, on which a row of the same archive lies; `start` itself
// where none does.
Date::Date FindStartOnRow(const Query& query, const Date::Date& start);

// Streams a point for each interval of a window that begins and ends on bounds: those of
// FetchIntervals. False when no sample of the file starts the window, so that all of them are bad.
bool StreamIntervals(const Query& query, const PointFunction& function, const TimeWindow& window,
                     const PieceConsumer& consume);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
