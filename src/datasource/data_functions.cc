#include "timeseries/data_functions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "foundation/log.h"

namespace nvx::TimeSeriesDatabase::DataFunctions {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::DataFunctions";

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
  // Not fields of the total: the compiler would write those to memory with every sample.
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

// The end of the samples that belong to a run and not to the next one.
const double* EndOfOwnSamples(const double* first, const double* last) {
  return last > first ? last : last + 1;
}

// The end of the samples of a run. A run of one step has only its first sample.
const double* EndOfRun(const double* first, const double* last) {
  return last == first + 1 ? last : last + 1;
}

bool IsComplete(const double* first, const double* end) { return std::all_of(first, end, IsValid); }

template <typename Precedes>
StatusCode FindExtreme(const double* first, const double* last, Precedes precedes, double& value,
                       bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const double* const end = EndOfRun(first, last);
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

// The variance of a run whose first sample is not missing.
double ComputeVariance(const double* first, const double* end) {
  // Relative to one of the samples, so that equal samples have a variance of exactly 0.
  const double origin = *first;
  double sum = 0.0;
  double count = 0.0;
  for (const double* sample = first; sample != end; ++sample) {
    if (IsValid(*sample)) {
      sum += *sample - origin;
      ++count;
    }
  }
  const double mean = sum / count;
  double squares = 0.0;
  for (const double* sample = first; sample != end; ++sample) {
    if (IsValid(*sample)) {
      const double distance = *sample - origin - mean;
      squares += distance * distance;
    }
  }
  return squares / count;
}

constexpr unsigned int WHOLE = 100000;  // 100 percent in thousandths

// Selects by nearest rank, in a buffer that grows to the longest run.
class Percentile {
 public:
  explicit Percentile(unsigned int thousandths) : thousandths(thousandths) {}

  StatusCode operator()(const double* first, const double* last, double& value, bool& valid) {
    if (first == nullptr || last == nullptr) {
      return StatusCode::NullPointer;
    }
    const double* const end = EndOfRun(first, last);
    const std::size_t count = CopyValid(first, end);
    if (count == 0) {
      return SetMissing(value, valid);
    }
    const auto selected = buffer.begin() + static_cast<std::ptrdiff_t>(GetRank(count) - 1);
    std::nth_element(buffer.begin(), selected, buffer.begin() + static_cast<std::ptrdiff_t>(count));
    value = *selected;
    valid = count == static_cast<std::size_t>(end - first);
    return StatusCode::Success;
  }

 private:
  // Integers, since 99.9 percent of 1000 in floating point may lie above 999.
  std::size_t GetRank(std::size_t count) const {
    const unsigned long long product = static_cast<unsigned long long>(count) * thousandths;
    return static_cast<std::size_t>((product + WHOLE - 1) / WHOLE);
  }

  std::size_t CopyValid(const double* first, const double* end) {
    buffer.resize(std::max(buffer.size(), static_cast<std::size_t>(end - first)));
    return static_cast<std::size_t>(std::copy_if(first, end, buffer.begin(), IsValid) -
                                    buffer.begin());
  }

  unsigned int thousandths;
  std::vector<double> buffer;
};

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
  if (firstValid == lastValid) {
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

StatusCode ComputeFirst(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const double* const end = EndOfRun(first, last);
  const double* const found = std::find_if(first, end, IsValid);
  if (found == end) {
    return SetMissing(value, valid);
  }
  value = *found;
  valid = IsComplete(first, end);
  return StatusCode::Success;
}

StatusCode ComputeLast(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const double* const end = EndOfRun(first, last);
  const double* found = end;
  while (found != first && !IsValid(*(found - 1))) {
    --found;
  }
  if (found == first) {
    return SetMissing(value, valid);
  }
  value = *(found - 1);
  valid = IsComplete(first, end);
  return StatusCode::Success;
}

StatusCode ComputeDeviation(const double* first, const double* last, double& value, bool& valid) {
  if (first == nullptr || last == nullptr) {
    return StatusCode::NullPointer;
  }
  const double* const end = EndOfRun(first, last);
  const double* const found = std::find_if(first, end, IsValid);
  if (found == end) {
    return SetMissing(value, valid);
  }
  value = ToValue(std::sqrt(ComputeVariance(found, end)));
  valid = IsComplete(first, end);
  return StatusCode::Success;
}

StatusCode MakeIntegral(unsigned long step, DataFunction& function) {
  if (step == 0) {
    NVX_FAILURE("The step is 0");
    return StatusCode::InvalidArgument;
  }
  function = [seconds = static_cast<double>(step)](const double* first, const double* last,
                                                   double& value, bool& valid) {
    if (first == nullptr || last == nullptr) {
      return StatusCode::NullPointer;
    }
    const Total total = AddUp(first, std::max(first, last));
    if (total.validCount == 0) {
      return SetMissing(value, valid);
    }
    value = ToValue(total.sum * seconds);
    valid = IsComplete(first, EndOfRun(first, last));
    return StatusCode::Success;
  };
  return StatusCode::Success;
}

StatusCode MakePercentile(unsigned int thousandths, DataFunction& function) {
  if (thousandths == 0 || thousandths > WHOLE) {
    NVX_FAILURE("No percentile is that of [%u] thousandths of a percent", thousandths);
    return StatusCode::InvalidArgument;
  }
  function = Percentile(thousandths);
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::DataFunctions
