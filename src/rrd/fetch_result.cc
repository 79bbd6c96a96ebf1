#include "timeseries/rrd/fetch_result.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

using Unsigned = unsigned long long;

// The quotient modulo 2^64: the smallest number divided by -1 does not fit into 64 bits.
Unsigned Divide(long long time, long long step) {
  return step == -1 ? -static_cast<Unsigned>(time) : static_cast<Unsigned>(time / step);
}

}  // namespace

FetchResult::FetchResult(FetchResult&& other) noexcept { *this = std::move(other); }

FetchResult& FetchResult::operator=(FetchResult&& other) noexcept {
  double* const taken = std::exchange(other.data, nullptr);
  startTime = std::exchange(other.startTime, 0);
  endTime = std::exchange(other.endTime, 0);
  step = std::exchange(other.step, 0);
  sampleCount = std::exchange(other.sampleCount, 0);
  std::free(std::exchange(data, taken));
  return *this;
}

FetchResult::~FetchResult() { std::free(data); }

long long FetchResult::GetStartTime() const { return startTime; }

long long FetchResult::GetEndTime() const { return endTime; }

unsigned long long FetchResult::GetStep() const { return step; }

unsigned int FetchResult::GetSampleCount() const { return sampleCount; }

const double* FetchResult::GetData() const { return data; }

void FetchResult::Fill(long long rrdStart, long long rrdEnd, unsigned long rrdStep,
                       double* rrdData) {
  // Sums modulo 2^64: no file has times near the limits of 64 bits, but the result must be defined.
  step = rrdStep;
  startTime = static_cast<long long>(static_cast<Unsigned>(rrdStart) + step);
  endTime = rrdEnd;
  // The buffer has one row more than the span, each of one value or more.
  const Unsigned rows =
      rrdEnd < rrdStart
          ? 0
          : (static_cast<Unsigned>(rrdEnd) - static_cast<Unsigned>(rrdStart)) / step + 1;
  const auto signedStep = static_cast<long long>(step);
  const Unsigned count = Divide(endTime, signedStep) + 1 - Divide(startTime, signedStep);
  sampleCount = static_cast<unsigned int>(std::min(count, rows));
  std::free(data);
  data = rrdData;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
