#include "timeseries/rrd/fetch_result.h"

#include <cstdlib>

namespace nvx::TimeSeriesDatabase::Rrd {

FetchResult::~FetchResult() { std::free(data); }

long long FetchResult::GetStartTime() const { return startTime; }

long long FetchResult::GetEndTime() const { return endTime; }

unsigned long long FetchResult::GetStep() const { return step; }

unsigned int FetchResult::GetSampleCount() const { return sampleCount; }

const double* FetchResult::GetData() const { return data; }

void FetchResult::Fill(long long rrdStart, long long rrdEnd, long long rrdStep, double* rrdData) {
  startTime = rrdStart + rrdStep;
  endTime = rrdEnd;
  step = static_cast<unsigned long long>(rrdStep);
  sampleCount = static_cast<unsigned int>(rrdEnd / rrdStep + 1 - startTime / rrdStep);
  std::free(data);
  data = rrdData;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
