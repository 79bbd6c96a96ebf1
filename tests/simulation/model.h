#pragma once

#include <cmath>
#include <limits>
#include <map>

namespace nvx::TimeSeriesDatabase::Simulation {

// Time to value.
using Samples = std::map<long long, double>;

// What a file of one gauge and one row a step holds, computed from the samples that were stored. A
// row is the average of the time that ends with it. Values are multiples of 1/8 and times whole
// seconds, so that no sum depends on its order.
struct Model {
  long long step = 0;
  long long rowCount = 0;
  double minimum = std::numeric_limits<double>::quiet_NaN();
  double maximum = std::numeric_limits<double>::quiet_NaN();
  long long last = 0;  // update
  Samples rows;

  long long GetNewest() const { return last - last % step; }
  long long GetOldest() const { return GetNewest() - (rowCount - 1) * step; }

  bool Takes(const Samples& batch) const { return !batch.empty() && batch.begin()->first > last; }

  void Store(const Samples& batch) {
    for (const auto& [time, value] : batch) {
      Store(time, value);
    }
    DropOld();
  }

  void DropOld() { rows.erase(rows.begin(), rows.lower_bound(GetOldest())); }

 private:
  void Store(long long time, double value) {
    const bool isKnown =
        time - last <= 2 * step && !std::isnan(value) && !(value < minimum || value > maximum);
    for (long long end = GetNewest() + step; end <= time; end += step) {
      const bool isMostlyKnown = 2 * missing <= step;  // before this sample
      Add(isKnown, value, end - last);
      const auto seconds = static_cast<double>(step - missing);
      rows.insert_or_assign(rows.end(), end, isMostlyKnown && hasSum ? sum / seconds : NAN);
      last = end;
      sum = 0;
      missing = 0;
      hasSum = false;
    }
    Add(isKnown, value, time - last);
    last = time;
  }

  void Add(bool isKnown, double value, long long seconds) {
    sum += isKnown ? value * static_cast<double>(seconds) : 0;
    missing += isKnown ? 0 : seconds;
    hasSum = hasSum || isKnown;
  }

  // Of the step that has not ended.
  double sum = 0;
  long long missing = 0;  // seconds
  bool hasSum = false;
};

}  // namespace nvx::TimeSeriesDatabase::Simulation
