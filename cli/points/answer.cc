#include "points/answer.h"

#include "base/command_error.h"
#include "base/message.h"
#include "points/single_point.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// What is computed for a function: the library does not compute a whole window but for a delta.
struct Task {
  TimeWindow window;
  std::optional<TimeWindow> cut;  // the interval that the end of the window cuts
  bool isWhole = false;
};

Task MakeTask(const Question& question, const Query& query, const PointFunction& function,
              const TimeWindow& window) {
  Task task;
  task.window = window;
  task.isWhole = query.interval == QueryInterval::FullPeriod && !function.isDelta;
  if (!task.isWhole && !question.isUnadjusted) {
    task.cut = AdjustWindow(query, question.isPartial, task.window);
  }
  RequireBoundedSamples(query, task.window);
  RequireBoundedPoints(query, task.window);
  return task;
}

// Appends the points of a task; false for partial data.
bool Compute(const Query& query, const PointFunction& function, const Task& task, Points& points) {
  if (task.isWhole) {
    points.push_back(ComputeWhole(query, function, task.window));
    return true;
  }
  bool isWithStart = true;
  if (task.window.start.timestamp != task.window.end.timestamp) {
    isWithStart = FetchIntervals(query, function, task.window, points);
  }
  if (task.cut) {
    points.push_back(ComputePartial(query, function, *task.cut));
  }
  return isWithStart;
}

}  // namespace

TimeWindow MakeWindow(const Question& question, const Query& query) {
  const AskedWindow& asked = question.window;
  const FileTimes times = GetFileTimes(query);
  TimeWindow window;
  window.start.timeZone = asked.zone;
  window.end.timeZone = asked.zone;
  window.start.timestamp = asked.from ? asked.from->Resolve(times) : GetFirstRow(query);
  window.end.timestamp = asked.to ? asked.to->Resolve(times) : query.file.lastUpdate;
  if (!asked.from && window.start.timestamp <= window.end.timestamp) {
    RequireBoundedSamples(query, window);
    const bool isOnBound = !question.isUnadjusted && query.interval != QueryInterval::FullPeriod;
    window.start.timestamp = FindStart(query, window, isOnBound);
  }
  if (window.start.timestamp >= window.end.timestamp) {
    throw CommandError(query.zeltId, "from is not before to: " + TimeWindowToString(window),
                       StatusCode::InvalidArgument);
  }
  return window;
}

bool FetchIntervals(const Query& query, const PointFunction& function, const TimeWindow& window,
                    Points& points) {
  const StatusCode status =
      query.MakeDataSource().Fetch(window, query.interval, function.compute, points);
  if (status == StatusCode::PartialData) {
    return false;
  }
  Require(
      status, query.zeltId,
      (status == StatusCode::OutOfRange ? "no interval ends with the window " : "no answer for ") +
          TimeWindowToString(window));
  return true;
}

void TellPartialData(const Query& query) {
  PrintMessage(CommandError(query.zeltId,
                            "no sample of the file starts the window, so no point is good",
                            StatusCode::PartialData)
                   .GetText());
}

Answer FindAnswer(const Question& question, const Query& query) {
  const TimeWindow window = MakeWindow(question, query);
  Answer answer;
  for (const auto& [name, function] : question.functions) {
    const Task task = MakeTask(question, query, function, window);
    if (answer.series.empty()) {
      TellArchive(query, task.window);
    }
    answer.isPartialData |= !Compute(query, function, task, answer.series.emplace_back());
  }
  if (answer.isPartialData) {
    TellPartialData(query);
  }
  return answer;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
