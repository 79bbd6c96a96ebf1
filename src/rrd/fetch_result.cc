#include "timeseries/rrd/fetch_result.h"

#include <cstdlib>

namespace nvx::TimeSeriesDatabase::Rrd {

FetchResult::~FetchResult() { std::free(data); }

long long FetchResult::GetStartTime() const { return startTime; }

long long FetchResult::GetEndTime() const { return endTime; }

unsigned long long FetchResult::GetStep() const { return step; }

unsigned int FetchResult::GetSampleCount() const { return sampleCount; }

const double* FetchResult::GetData() const { return data; }

}  // namespace nvx::TimeSeriesDatabase::Rrd
