#pragma once

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase {

class RrdClient;

namespace Rrd {

// The samples of one fetch, one per step. The caller makes it empty and RrdClient::Fetch fills it.
// It owns the buffer of the samples.
class NVX_TIMESERIES_EXPORT FetchResult {
 public:
  FetchResult() = default;
  FetchResult(const FetchResult&) = delete;
  FetchResult& operator=(const FetchResult&) = delete;

  // Leave `other` empty. The buffer stays where it is.
  FetchResult(FetchResult&& other) noexcept;
  FetchResult& operator=(FetchResult&& other) noexcept;

  virtual ~FetchResult();

  // Times of the first and the last sample, in seconds since the epoch.
  virtual long long GetStartTime() const;
  virtual long long GetEndTime() const;

  // Seconds from one sample to the next.
  virtual unsigned long long GetStep() const;

  virtual unsigned int GetSampleCount() const;

  // The samples, NaN where one is missing; null while the result is empty. The buffer lives until
  // the result is filled again or destroyed.
  virtual const double* GetData() const;

 private:
  friend class nvx::TimeSeriesDatabase::RrdClient;

  // Takes over the buffer of the rows after `rrdStart` up to `rrdEnd`, made with malloc.
  NVX_TIMESERIES_HIDDEN void Fill(long long rrdStart, long long rrdEnd, unsigned long rrdStep,
                                  double* rrdData);

  long long startTime = 0;
  long long endTime = 0;
  unsigned long long step = 0;
  unsigned int sampleCount = 0;
  double* data = nullptr;
};

}  // namespace Rrd
}  // namespace nvx::TimeSeriesDatabase
