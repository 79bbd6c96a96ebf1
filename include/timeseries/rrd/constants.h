#pragma once

#include <string>

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// The consolidation function of the one archive of a file.
NVX_TIMESERIES_EXPORT extern const std::string LAST_KEYWORD;

// The extension of data source files, without separator.
NVX_TIMESERIES_EXPORT extern const std::string DATA_SOURCE_FILE_EXTENSION;

}  // namespace nvx::TimeSeriesDatabase::Rrd
