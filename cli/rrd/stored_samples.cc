#include "rrd/stored_samples.h"

#include <algorithm>
#include <cmath>

#include "base/command_error.h"
#include "base/time_text.h"
#include "base/words.h"
#include "rrd/row_walk.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char NO_READING[] = "U";

constexpr long long PIECE_ROW_COUNT = 1 << 16;

// "10 minutes", in the longest unit that needs no fraction.
std::string FormatDuration(unsigned long seconds) {
  struct Unit {
    const char* name;
    unsigned long seconds;
  };
  constexpr Unit UNITS[] = {{"day", 86400}, {"hour", 3600}, {"minute", 60}, {"second", 1}};
  const Unit* unit = UNITS;
  while (seconds % unit->seconds != 0) {
    ++unit;
  }
  return Count(seconds / unit->seconds, unit->name);
}

// Empty for a count of 0.
std::string Tell(unsigned long long count, const std::string& one, const std::string& several) {
  return count == 0 ? "" : "; " + std::to_string(count) + (count == 1 ? one : several);
}

}  // namespace

StoredSamples::StoredSamples(const PatientClient& client, const std::string& filePath,
                             const Rrd::FileDescription& fileDescription)
    : rrdClient(client),
      path(filePath),
      description(fileDescription),
      step(static_cast<long long>(description.step)),
      lastTime(description.lastUpdate) {}

template <typename Consumer>
void StoredSamples::ReadRows(long long first, long long last, const Consumer& consume) const {
  Require(WalkRows(rrdClient, path, step, first, last, consume), path,
          "its samples cannot be read");
}

void StoredSamples::MakeRoomUntil(long long latest) {
  if (!description.HasShapeOfCreate()) {
    return;
  }
  const auto rowCount = static_cast<long long>(description.archives.front().rowCount);
  const long long lastDropped =
      std::min(latest / step - rowCount, description.lastUpdate / step) * step;
  ReadRows(GetFirstRow(), lastDropped, [this](long long time, double value) {
    if (!std::isnan(value)) {
      firstDropped = droppedCount == 0 ? time : firstDropped;
      ++droppedCount;
    }
  });
}

bool StoredSamples::WasEmpty() const {
  if (!description.HasShapeOfCreate() ||
      description.dataSources.front().lastReading != NO_READING) {
    return false;
  }
  bool isEmpty = true;
  ReadRows(description.archives.front().firstTime, description.archives.front().lastTime,
           [&isEmpty](long long /*time*/, double value) { isEmpty &= std::isnan(value); });
  return isEmpty;
}

void StoredSamples::Add(const std::map<long long, double>& batch) {
  for (const auto& [time, value] : batch) {
    Classify(time, value);
    lastTime = time;
  }
  LookAtRows();
  DropOld();
}

bool StoredSamples::IsOutOfBounds(double value) const {
  const Rrd::DataSourceDescription& source = description.dataSources.front();
  if (source.type != "GAUGE" || (std::isnan(source.minimum) && std::isnan(source.maximum))) {
    return false;
  }
  const double stored = std::stod(std::to_string(value));  // with six digits after the point
  return stored < source.minimum || stored > source.maximum;
}

void StoredSamples::Classify(long long time, double value) {
  if (std::isnan(value)) {
    ++missingCount;
    return;
  }
  ++count;
  const auto heartbeat = static_cast<long long>(description.dataSources.front().heartbeat);
  if (time - lastTime > heartbeat) {
    ++gapCount;
  } else if (IsOutOfBounds(value)) {
    ++outOfBoundsCount;
  } else {
    ClassifyByDigits(value);
    ClassifyByRow(time);
  }
}

// The RRD library reads all digits, with six after the point, as one whole number. That number may
// become infinite. An error in its last digits is expected and not reported.
void StoredSamples::ClassifyByDigits(double value) {
  constexpr double DIGITS_AFTER_POINT = 1e6;
  constexpr double LAST_DIGITS = 1e-14;
  const double whole = value * DIGITS_AFTER_POINT;
  if (std::isinf(whole)) {
    infiniteCount += std::isinf(value) ? 0 : 1;
  } else if (std::abs(std::nearbyint(whole) / DIGITS_AFTER_POINT - value) >
             LAST_DIGITS * std::abs(value)) {
    ++roundedCount;
  }
}

void StoredSamples::ClassifyByRow(long long time) {
  if (description.HasShapeOfCreate()) {
    undecided.push_back({time, lastTime});
  } else {
    averagedCount += time % step == 0 ? 0 : 1;
  }
}

// Classifies samples whose rows are complete. Where samples share a row, the row's value depends on
// all of them, so it is read from the file, unless the file has dropped the row already.
void StoredSamples::LookAtRows() {
  Rrd::FetchResult rows;
  long long endOfRows = 0;
  auto sample = undecided.begin();
  for (; sample != undecided.end() && RoundUp(sample->time) <= lastTime; ++sample) {
    const long long firstRow = RoundUp(sample->previousTime + 1);
    const bool isAlone = sample->time % step == 0 && sample->previousTime % step == 0;
    if (!isAlone && firstRow >= GetFirstRow()) {
      if (RoundUp(sample->time) > endOfRows) {
        endOfRows = std::min(lastTime / step * step,
                             std::max(RoundUp(sample->time), firstRow + PIECE_ROW_COUNT * step));
        Require(CommandLine::ReadRows(rrdClient, path, step, firstRow, endOfRows, rows), path,
                "its samples cannot be read back");
      }
      if (!IsShown(*sample, rows)) {
        ++unknownCount;
        continue;
      }
    }
    averagedCount += sample->time % step == 0 ? 0 : 1;
    shownTimes.push_back(sample->time);
  }
  undecided.erase(undecided.begin(), sample);
}

bool StoredSamples::IsShown(const Span& sample, const Rrd::FetchResult& rows) const {
  const long long first = RoundUp(sample.previousTime + 1);
  for (long long row = first; row <= RoundUp(sample.time); row += step) {
    const long long position = (row - rows.GetStartTime()) / step;
    if (!std::isnan(rows.GetData()[position])) {
      return true;
    }
  }
  return false;
}

void StoredSamples::DropOld() {
  while (!shownTimes.empty() && RoundUp(shownTimes.front()) < GetFirstRow()) {
    averagedCount -= shownTimes.front() % step == 0 ? 0 : 1;
    shownTimes.pop_front();
    ++oldCount;
  }
}

long long StoredSamples::GetFirstRow() const {
  const auto rowCount = static_cast<long long>(description.archives.front().rowCount);
  return lastTime / step * step - (rowCount - 1) * step;
}

std::string StoredSamples::DescribeDropped() const {
  return Tell(droppedCount,
              " sample that the file had, of " + FormatUtc(firstDropped) + ", was dropped",
              " samples that the file had, from " + FormatUtc(firstDropped) + ", were dropped");
}

std::string StoredSamples::Describe() const {
  const std::string heartbeat = FormatDuration(description.dataSources.front().heartbeat);
  const std::string steps = "between the steps of " + FormatDuration(description.step);
  return Count(count, "sample") + " stored" +
         Tell(gapCount, " of them ends a gap longer than " + heartbeat + " and is missing",
              " of them end gaps longer than " + heartbeat + " and are missing") +
         Tell(outOfBoundsCount, " of them is out of bounds and missing",
              " of them are out of bounds and missing") +
         Tell(unknownCount, " of them is missing, since more than half of its step is unknown",
              " of them are missing, since more than half of their steps is unknown") +
         Tell(averagedCount + undecided.size(),
              " of them lies " + steps + " and is averaged into them",
              " of them lie " + steps + " and are averaged into them") +
         Tell(roundedCount, " value keeps six digits after the point",
              " values keep six digits after the point") +
         Tell(infiniteCount, " value is too large and becomes infinite",
              " values are too large and become infinite") +
         Tell(oldCount, " of them is older than the rows that the file keeps",
              " of them are older than the rows that the file keeps") +
         DescribeDropped() + Tell(missingCount, " more is missing", " more are missing");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
