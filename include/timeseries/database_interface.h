#pragma once

#include <memory>
#include <set>
#include <string>

#include "timeseries/data_source_interface.h"
#include "timeseries/export.h"
#include "timeseries/numerical_data_source_interface.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase {

// A collection of data sources, each named by its Zelt id. For example, the averages of each whole
// hour between two instants, without the handling of failures:
//
//   TimeWindow window;
//   if (window.start.Initialize(1700006460, "Europe/Paris") != StatusCode::Success ||
//       window.end.Initialize(1700013600, "Europe/Paris") != StatusCode::Success ||
//       TimeWindowHelper::AdjustTimeWindow(QueryInterval::Hour,
//                                          TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY,
//                                          window) != StatusCode::Success) {
//     return;
//   }
//   std::unique_ptr<NumericalDataSourceInterface> source;
//   std::vector<NumericalDataPoint> points;
//   if (database.GetNumericalDataSource("topo:Temperature", source) == StatusCode::Success &&
//       source->FetchAverage(window, QueryInterval::Hour, points) == StatusCode::Success) {
//     // points[0] is the hour from window.start: its date, value and quality
//   }
class NVX_TIMESERIES_EXPORT DatabaseInterface {
 public:
  virtual ~DatabaseInterface();

  // Adds the ids of all data sources to `zeltIds`.
  virtual StatusCode ListDataSources(std::set<std::string>& zeltIds) const = 0;

  // Success when there is a data source of that id.
  virtual StatusCode HasDataSource(const std::string& zeltId) const = 0;

  // Open a data source, which becomes the caller's. `dataSource` is unchanged on failure.
  virtual StatusCode GetDataSource(const std::string& zeltId,
                                   std::unique_ptr<DataSourceInterface>& dataSource) const = 0;
  virtual StatusCode GetNumericalDataSource(
      const std::string& zeltId,
      std::unique_ptr<NumericalDataSourceInterface>& dataSource) const = 0;
};

}  // namespace nvx::TimeSeriesDatabase
