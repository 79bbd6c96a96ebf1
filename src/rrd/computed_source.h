#pragma once

#include "rrd/file_header.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// True for a data source that the RRD library computes from others of the file.
bool IsComputed(const ds_def_t& source);

// Whether the RRD library can print and compute the formula of the data source with this index: of
// known operators that take a fixed number of operands, over sources before it, and ended. It does
// not look for itself, and writes outside its stack for an operator with a count from the stack.
bool IsFormulaSafe(const ds_def_t& source, unsigned long index);

}  // namespace nvx::TimeSeriesDatabase::Rrd
