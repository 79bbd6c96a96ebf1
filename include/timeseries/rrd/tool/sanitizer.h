#pragma once

#include <string>

#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Converts RRD files that a 32-bit ARM system with a 32-bit time_t wrote into files that the same
// system with a 64-bit time_t reads. Every failure writes one line to the log, and the class
// Failure has its reason. Without state.
class NVX_TIMESERIES_EXPORT Sanitizer {
 public:
  virtual ~Sanitizer();

  // Writes the converted copy of `source` to `destination`, which is replaced when it exists, and
  // syncs it. The source is only read.
  //
  // Failures before the destination is touched: CannotOpen or InvalidArgument for a source that
  // cannot be read, is not such an RRD file, is cut short or is 4 GiB or larger;
  // NothingToDo for one that is in the new layout already; InvalidArgument when both paths name the
  // same file; OutOfMemory; IoError when the destination cannot be created.
  //
  // Later failures (IoError, InvalidArgument, OutOfMemory) leave an incomplete destination that is
  // of no use. To replace a file, convert to a temporary path and rename.
  virtual StatusCode Convert(const std::string& source, const std::string& destination);

  // Tells, without writing anything, whether `source` can be converted: Success for a whole file of
  // the old layout, otherwise the code that Convert would return.
  StatusCode Check(const std::string& source) const;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
