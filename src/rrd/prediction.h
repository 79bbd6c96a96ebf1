#pragma once

#include <string_view>

#include "rrd/file_header.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Whether a consolidation function is one of the RRD library's predictions of aberrant behaviour.
bool IsPrediction(std::string_view function);

// Whether the archive is no prediction, or one with parameters that the RRD library can compute
// with. The RRD library follows the index of the archive that a prediction depends on, and counts
// violations in arrays of a fixed size, without checking either.
bool IsPredictionSafe(const std::string& header, const HeaderLayout& layout,
                      const rra_def_t& archive, unsigned long archiveCount);

}  // namespace nvx::TimeSeriesDatabase::Rrd
