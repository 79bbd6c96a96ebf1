#pragma once

#include "rrd/file_header.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// True for a data source that the RRD library computes from others in the file.
bool IsComputed(const ds_def_t& source);

// Whether the RRD library can print and compute the formula of the data source with this index: the
// formula ends, refers to data sources before its own, and has known operators with a fixed number
// of operands. The RRD library checks none of that; an operator that takes the number from the
// stack can make it write outside its stack.
bool IsFormulaSafe(const ds_def_t& source, unsigned long index);

}  // namespace nvx::TimeSeriesDatabase::Rrd
