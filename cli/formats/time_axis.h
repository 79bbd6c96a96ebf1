#pragma once

#include <cctz/time_zone.h>

#include <string>
#include <vector>

// The axis of a chart: instants have their true distances, and the labels are local times.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct Tick {
  long long timestamp;
  std::string label;
};

// Bounds of minutes, hours, days, months or years from `first` to `last`, in their order, and not
// many more than `maximumCount`.
std::vector<Tick> ListTicks(long long first, long long last, const cctz::time_zone& zone,
                            std::size_t maximumCount);

// The instants after `first`, up to `last`, at which the clocks change, with labels such as "+1 h".
// None when there are more than a few.
std::vector<Tick> ListClockChanges(long long first, long long last, const cctz::time_zone& zone);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
