#pragma once

#include <rrd.h>

#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Reads the list that rrd_info_r returns.
FileDescription ReadFileInformation(const rrd_info_t* information);

// Sets the times of an archive from the rest of it and the description's step and last update.
void ComputeTimes(const FileDescription& description, ArchiveDescription& archive);

}  // namespace nvx::TimeSeriesDatabase::Rrd
