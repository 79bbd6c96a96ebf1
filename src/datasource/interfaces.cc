#include "timeseries/data_source_interface.h"
#include "timeseries/numerical_data_source_interface.h"

namespace nvx::TimeSeriesDatabase {

DataSourceInterface::~DataSourceInterface() = default;

NumericalDataSourceInterface::~NumericalDataSourceInterface() = default;

}  // namespace nvx::TimeSeriesDatabase
