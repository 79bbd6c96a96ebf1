#pragma once

#include <memory>
#include <set>
#include <string>

#include "timeseries/data_source_interface.h"
#include "timeseries/export.h"
#include "timeseries/host.h"
#include "timeseries/numerical_data_source_interface.h"

namespace nvx::TimeSeriesDatabase {

// A collection of data sources, each named by its Zelt id.
class NVX_TIMESERIES_EXPORT DatabaseInterface {
 public:
  virtual ~DatabaseInterface();

  // Adds the ids of all data sources to `zeltIds`.
  virtual StatusCode ListDataSources(std::set<std::string>& zeltIds) const = 0;

  // Success when there is a data source of that id.
  virtual StatusCode HasDataSource(const std::string& zeltId) const = 0;

  // Opens a data source, which becomes the caller's. `dataSource` keeps what it holds on failure.
  virtual StatusCode GetDataSource(const std::string& zeltId,
                                   std::unique_ptr<DataSourceInterface>& dataSource) const = 0;
  virtual StatusCode GetNumericalDataSource(
      const std::string& zeltId,
      std::unique_ptr<NumericalDataSourceInterface>& dataSource) const = 0;
};

}  // namespace nvx::TimeSeriesDatabase
