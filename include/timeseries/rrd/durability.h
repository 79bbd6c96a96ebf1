#pragma once

namespace nvx::TimeSeriesDatabase::Rrd {

// What a stored batch of samples survives.
enum class Durability {
  Process,  // the end of the process, at any instruction
  Power     // besides, the end of the machine's power, at any moment
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
