#pragma once

#include <cctz/time_zone.h>

#include <string>
#include <vector>

// The axis of a chart on which instants lie at their distances, and their labels are local times.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct Tick {
  long long timestamp;
  std::string label;
};

// Bounds of minutes, hours, days, months or years from `first` to `last`, in their order, at most
// about `maximumCount`.
std::vector<Tick> ListTicks(long long first, long long last, const cctz::time_zone& zone,
                            std::size_t maximumCount);

// The instants behind `first` at which the clocks change until `last`, with labels such as "+1 h".
// None where there are more than a few.
std::vector<Tick> ListClockChanges(long long first, long long last, const cctz::time_zone& zone);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
