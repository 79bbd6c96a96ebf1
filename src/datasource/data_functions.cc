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

struct Total {
  double sum;  // of the samples that are not missing
  std::ptrdiff_t validCount;
  std::ptrdiff_t count;
};

Total AddUp(const double* first, const double* end) {
  // Not the fields of the total, which the compiler would write to memory with every sample.
  double sum = 0.0;
  std::ptrdiff_t validCount = 0;
  for (const double* sample = first; sample != end; ++sample) {
    if (IsValid(*sample)) {
      sum += *sample;
      ++validCount;
    }
  }
  return {sum, validCount, end - first};
}

// The end of the samples that belong to a run and not to the one that follows it.
const double* EndOfOwnSamples(const double* first, const double* last) {
  return last > first ? last : last + 1;
}

template <typename Precedes>
StatusCode FindExtreme(const double* first, const double* last, Precedes precedes, double& value,
                       bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const bool isOneStep = last == first + 1;
  const double* const end = isOneStep ? last : last + 1;
  const double* extreme = nullptr;
  std::ptrdiff_t validCount = 0;
  for (const double* sample = first; sample != end; ++sample) {
    if (IsValid(*sample)) {
      extreme = extreme == nullptr || precedes(*sample, *extreme) ? sample : extreme;
      ++validCount;
    }
  }
  if (extreme == nullptr) {
    return SetMissing(value, valid);
  }
  value = *extreme;
  valid = validCount == end - first;
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

  const Total total = AddUp(first, last + 1);
  if (total.validCount == 0) {
    return SetMissing(value, valid);
  }
  value = ToValue(total.sum / static_cast<double>(total.validCount));
  valid = total.validCount == total.count;
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

StatusCode ComputeIncrease(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  double increase = 0.0;
  const double* former = nullptr;
  std::ptrdiff_t validCount = 0;
  for (const double* sample = first; sample <= last; ++sample) {
    if (!IsValid(*sample)) {
      continue;
    }
    if (former != nullptr) {
      increase += *sample < *former ? *sample : *sample - *former;
    }
    former = sample;
    ++validCount;
  }
  if (validCount < 2) {
    return SetMissing(value, valid);
  }
  value = ToValue(increase);
  valid = validCount == last - first + 1;
  return StatusCode::Success;
}

StatusCode ComputeMinimum(const double* first, const double* last, double& value, bool& valid) {
  return FindExtreme(
      first, last, [](double lhs, double rhs) { return lhs < rhs; }, value, valid);
}

StatusCode ComputeMaximum(const double* first, const double* last, double& value, bool& valid) {
  return FindExtreme(
      first, last, [](double lhs, double rhs) { return lhs > rhs; }, value, valid);
}

StatusCode ComputeSum(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const Total total = AddUp(first, EndOfOwnSamples(first, last));
  if (total.validCount == 0) {
    return SetMissing(value, valid);
  }
  value = ToValue(total.sum);
  valid = total.validCount == total.count;
  return StatusCode::Success;
}

StatusCode ComputeCount(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const Total total = AddUp(first, EndOfOwnSamples(first, last));
  value = static_cast<double>(total.validCount);
  valid = total.count > 0 && total.validCount == total.count;
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::DataFunctions
