#pragma once

#include <vector>

#include "points/points.h"
#include "points/query.h"
#include "points/question.h"

// What one file answers. Every operation throws CommandError.
namespace nvx::TimeSeriesDatabase::CommandLine {

// The window that a question means in a file. Without a start it begins with the first interval
// that has a sample, without an end it ends with the file's last update.
TimeWindow MakeWindow(const Question& question, const Query& query);

// Appends a point for each interval of a window that begins and ends on bounds. False when no
// sample of the file starts the window, so that all of them are bad.
bool FetchIntervals(const Query& query, const PointFunction& function, const TimeWindow& window,
                    Points& points);

// Tells that no sample of the file starts the window.
void TellPartialData(const Query& query);

struct Answer {
  std::vector<Points> series;  // one for each function
  bool isPartialData = false;  // no sample starts the window
};

// The points of the whole window. Tells on standard error what the user should know of them.
Answer FindAnswer(const Question& question, const Query& query);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
