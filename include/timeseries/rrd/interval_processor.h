#pragma once

#include <vector>

#include "timeseries/data_functions.h"
#include "timeseries/date/date.h"
#include "timeseries/export.h"
#include "timeseries/numerical_data_point.h"
#include "timeseries/rrd/fetch_result.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Applies a data function to every interval of an iterator.
class NVX_TIMESERIES_EXPORT IntervalProcessor {
 public:
  // Both arguments stay the caller's and must outlive the processor. Temporaries do not compile:
  // put a plain function into a DataFunction first.
  IntervalProcessor(const DataFunction& function, IntervalIterator& iterator);
  IntervalProcessor(const DataFunction&& function, IntervalIterator& iterator) = delete;

  // Appends a point per interval. Stops at the first failure of the iterator or the data function
  // and returns its code; the points of the intervals before stay in `points`.
  StatusCode Process(std::vector<NumericalDataPoint>& points);

 private:
  NVX_TIMESERIES_HIDDEN StatusCode ComputePoint(NumericalDataPoint& point) const;

  const DataFunction& function;
  IntervalIterator& iterator;
};

// Does the same for the interval between each two neighbours of `bounds`, which must ascend.
// `samples` are fetched from the first bound to the last one or further. Intervals that lack
// samples are treated as by IntervalIterator. Several functions can be applied to one fetch.
NVX_TIMESERIES_EXPORT StatusCode ProcessBounds(const std::vector<Date::Date>& bounds,
                                               const FetchResult& samples,
                                               const DataFunction& function,
                                               std::vector<NumericalDataPoint>& points);

}  // namespace nvx::TimeSeriesDatabase::Rrd
