#include "rrd/stored_samples.h"

#include <algorithm>
#include <cmath>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

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
  const unsigned long number = seconds / unit->seconds;
  return std::to_string(number) + " " + unit->name + (number == 1 ? "" : "s");
}

// Nothing for none.
std::string TellOf(unsigned long long count, const std::string& one, const std::string& several) {
  return count == 0 ? ""
                    : "; " + std::to_string(count) + " of them " + (count == 1 ? one : several);
}

}  // namespace

std::string CountSamples(unsigned long long count) {
  return std::to_string(count) + (count == 1 ? " sample" : " samples");
}

StoredSamples::StoredSamples(const PatientClient& client, const std::string& filePath,
                             const Rrd::FileDescription& fileDescription)
    : rrdClient(client),
      path(filePath),
      description(fileDescription),
      step(static_cast<long long>(description.step)),
      lastTime(description.lastUpdate) {}

void StoredSamples::Add(const std::map<long long, double>& batch) {
  count += batch.size();
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
    return;
  }
  const auto heartbeat = static_cast<long long>(description.dataSources.front().heartbeat);
  if (time - lastTime > heartbeat) {
    ++gapCount;
  } else if (IsOutOfBounds(value)) {
    ++outOfBoundsCount;
  } else if (description.HasShapeOfCreate()) {
    undecided.push_back({time, lastTime});
  } else {
    averagedCount += time % step == 0 ? 0 : 1;
  }
}

// Decides of the samples whose rows are whole. Where samples share a row, what the file makes of
// them depends on all of them, so that the file is asked, unless it has given up the row already.
void StoredSamples::LookAtRows() {
  constexpr long long PIECE_ROW_COUNT = 1 << 16;
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
        Require(rrdClient.Fetch(path, firstRow, endOfRows, rows), path,
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

std::string StoredSamples::Describe() const {
  const std::string heartbeat = FormatDuration(description.dataSources.front().heartbeat);
  const std::string steps = "between the steps of " + FormatDuration(description.step);
  return CountSamples(count) + " stored" +
         TellOf(gapCount, "ends a gap longer than " + heartbeat + " and is missing",
                "end gaps longer than " + heartbeat + " and are missing") +
         TellOf(outOfBoundsCount, "is out of bounds and missing", "are out of bounds and missing") +
         TellOf(unknownCount, "is missing, since more than half of its step is unknown",
                "are missing, since more than half of their steps is unknown") +
         TellOf(averagedCount + undecided.size(), "lies " + steps + " and is averaged into them",
                "lie " + steps + " and are averaged into them") +
         TellOf(oldCount, "is older than the rows that the file keeps",
                "are older than the rows that the file keeps");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
