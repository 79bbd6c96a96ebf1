#pragma once

#include <vector>

#include "timeseries/data_source_interface.h"
#include "timeseries/export.h"
#include "timeseries/numerical_data_point.h"
#include "timeseries/query_interval.h"
#include "timeseries/status_code.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase {

// A data source of numbers, which answers queries over a window.
class NVX_TIMESERIES_EXPORT NumericalDataSourceInterface : public DataSourceInterface {
 public:
  ~NumericalDataSourceInterface() override;

  // Has no use yet: implementations do nothing and return Success. It stays so that the operations
  // after it keep their places in the virtual table.
  virtual StatusCode Reserved() = 0;

  // Append to `points` one point for each interval of the window, dated with the interval's start.
  // Its value is the average of the interval's samples (FetchAverage) or the growth from the first
  // to the last of them (FetchDelta). For FullPeriod both append one point, the growth over the
  // whole window.
  //
  // The window should begin and end on bounds of the interval (TimeWindowHelper::AdjustTimeWindow)
  // and on steps of the file.
  //
  //   code             points appended  when
  //   Success          all
  //   PartialData      all              the window starts between two steps of the file; every
  //                                     element of `points`, older ones too, is bad then
  //   OutOfRange       complete ones    the window ends within an interval
  //   InvalidArgument  none             the window is empty, its zones differ or the interval is
  //                                     unknown; never for FullPeriod
  //   any other        none             the file cannot be read (the code of RrdClient::Fetch);
  //                                     Failure also when the window ends before it starts
  virtual StatusCode FetchAverage(const TimeWindow& window, QueryInterval interval,
                                  std::vector<NumericalDataPoint>& points) = 0;
  virtual StatusCode FetchDelta(const TimeWindow& window, QueryInterval interval,
                                std::vector<NumericalDataPoint>& points) = 0;
};

}  // namespace nvx::TimeSeriesDatabase
