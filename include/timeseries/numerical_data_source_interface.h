#pragma once

#include <vector>

#include "timeseries/data_source_interface.h"
#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/numerical_data_point.h"
#include "timeseries/query_interval.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase {

// A data source of numbers, which answers queries over a window.
class NVX_TIMESERIES_EXPORT NumericalDataSourceInterface : public DataSourceInterface {
 public:
  ~NumericalDataSourceInterface() override;

  // A place in the order of operations that has no use yet: implementations do nothing and return
  // Success. It stays so that the operations after it keep theirs.
  virtual StatusCode Reserved() = 0;

  // Appends to `points` one per interval of the window, dated with the interval's start, its value
  // the average of the interval's samples (FetchAverage) or what they grew by (FetchDelta). Of
  // FullPeriod both answer what the value grew by over the window.
  //
  // The window should be aligned to the interval (TimeWindowHelper::AdjustTimeWindow) and to the
  // file's step. If the first sample is not that of the window's start, all elements of `points`,
  // earlier ones too, are marked bad and PartialData is returned. OutOfRange when the window does
  // not end with an interval: the complete ones are in `points`. InvalidArgument for an interval or
  // zones that are not valid, of which FullPeriod looks at none; other codes, also for a window
  // that ends before it starts, as the reading of the file gives them. `points` is unchanged then.
  virtual StatusCode FetchAverage(const TimeWindow& window, QueryInterval interval,
                                  std::vector<NumericalDataPoint>& points) = 0;
  virtual StatusCode FetchDelta(const TimeWindow& window, QueryInterval interval,
                                std::vector<NumericalDataPoint>& points) = 0;
};

}  // namespace nvx::TimeSeriesDatabase
