#pragma once

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// An RRD file holds the structures of the machine that wrote it. Machines differ in the widths of
// `long` and `time_t`, in the alignment of doubles and in the byte order.
enum class Layout {
  Arm32Time32,            // 32-bit ARM, MIPS low byte first: 32-bit time_t
  Arm32Time64,            // the same with a 64-bit time_t
  I386,                   // 32-bit x86, 32-bit time_t
  Bits64,                 // every 64-bit machine low byte first: x86-64, ARM, RISC-V
  I386Time64,             // 32-bit x86, 64-bit time_t
  Bits32HighFirst,        // 32-bit PowerPC, SPARC and MIPS high byte first: no target, as all below
  Bits32HighFirstTime64,  // the same with a 64-bit time_t
  Bits64HighFirst,        // s390x, 64-bit PowerPC and SPARC
};

// A static string, such as "64bit"; "unknown" for a value outside the enumeration.
NVX_TIMESERIES_EXPORT const char* GetLayoutName(Layout layout);

// The layout of the files that the RRD library of this machine reads and writes.
NVX_TIMESERIES_EXPORT Layout GetNativeLayout();

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
