#include "timeseries/data_functions.h"

#include <cstddef>
#include <limits>
#include <string>

namespace nvx::TimeSeriesDatabase::DataFunctions {
namespace {

// The name of this family in log lines, of which it writes none.
[[maybe_unused]] const std::string COMPONENT_NAME = "TimeSeriesDatabase::DataFunctions";

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

bool IsValid(double sample) { return sample == sample; }

// Every missing value has the same bits, whether a sample or infinities made it NaN.
double ToValue(double number) { return IsValid(number) ? number : MISSING; }

StatusCode SetMissing(double& value, bool& valid) {
  value = MISSING;
  valid = false;
  return StatusCode::Success;
}

}  // namespace

StatusCode ComputeAverageIgnoringNan(const double* first, const double* last, double& value,
                                     bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const std::ptrdiff_t count = last - first + 1;
  if (count == 2) {
    value = ToValue(*first);
    valid = IsValid(*first);
    return StatusCode::Success;
  }

  double sum = 0.0;
  std::ptrdiff_t validCount = 0;
  for (const double* sample = first; sample < first + count; ++sample) {
    if (IsValid(*sample)) {
      sum += *sample;
      ++validCount;
    }
  }
  if (validCount == 0) {
    return SetMissing(value, valid);
  }
  value = ToValue(sum / static_cast<double>(validCount));
  valid = validCount == count;
  return StatusCode::Success;
}

StatusCode ComputeDelta(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const auto count = static_cast<unsigned int>(last - first + 1);
  const double* const firstValid = SearchForFirstValidSample(first, count);
  const double* const lastValid = SearchForLastValidSample(last, count);
  if (firstValid == nullptr || lastValid == nullptr || firstValid == lastValid) {
    return SetMissing(value, valid);
  }
  value = ToValue(*lastValid - *firstValid);
  valid = firstValid == first && lastValid == last;
  return StatusCode::Success;
}

const double* SearchForFirstValidSample(const double* samples, unsigned int count) {
  for (unsigned int i = 0; i < count; ++i) {
    if (IsValid(samples[i])) {
      return samples + i;
    }
  }
  return nullptr;
}

const double* SearchForLastValidSample(const double* last, unsigned int count) {
  for (unsigned int i = 0; i < count; ++i) {
    if (IsValid(*(last - i))) {
      return last - i;
    }
  }
  return nullptr;
}

}  // namespace nvx::TimeSeriesDatabase::DataFunctions
