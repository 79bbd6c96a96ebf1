#include "timeseries/rrd/fetch_result.h"

#include <algorithm>
#include <cstdlib>

namespace nvx::TimeSeriesDatabase::Rrd {

FetchResult::~FetchResult() { std::free(data); }

long long FetchResult::GetStartTime() const { return startTime; }

long long FetchResult::GetEndTime() const { return endTime; }

unsigned long long FetchResult::GetStep() const { return step; }

unsigned int FetchResult::GetSampleCount() const { return sampleCount; }

const double* FetchResult::GetData() const { return data; }

void FetchResult::Fill(long long rrdStart, long long rrdEnd, long long rrdStep, double* rrdData) {
  // Sums modulo 2^64: times at the end of what 64 bits hold are no file's, but they are defined.
  using Unsigned = unsigned long long;
  step = static_cast<Unsigned>(rrdStep);
  startTime = static_cast<long long>(static_cast<Unsigned>(rrdStart) + step);
  endTime = rrdEnd;
  // The buffer has one row more than the span, each of one value or more.
  const Unsigned rows =
      rrdEnd < rrdStart
          ? 0
          : (static_cast<Unsigned>(rrdEnd) - static_cast<Unsigned>(rrdStart)) / step + 1;
  const Unsigned count =
      static_cast<Unsigned>(endTime / rrdStep) + 1 - static_cast<Unsigned>(startTime / rrdStep);
  sampleCount = static_cast<unsigned int>(std::min(count, rows));
  std::free(data);
  data = rrdData;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
