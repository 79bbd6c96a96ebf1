#pragma once

namespace nvx::TimeSeriesDatabase::Rrd {

// What a stored batch of samples survives.
enum class Durability {
  Process,  // a kill of the process, at any instruction
  Power     // also a loss of power, at any moment
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
