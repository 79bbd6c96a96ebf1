#pragma once

#include <rrd.h>

#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Reads the list that rrd_info_r returns.
FileDescription ReadFileInformation(const rrd_info_t* information);

}  // namespace nvx::TimeSeriesDatabase::Rrd
