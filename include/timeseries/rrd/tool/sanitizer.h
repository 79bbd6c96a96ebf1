#pragma once

#include <string>

#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Converts RRD files that a 32-bit ARM system wrote with a 32-bit time_t into what such a system
// with a 64-bit time_t reads. Every failure writes one line to the log, and the class Failure has
// its reason. Without state.
class NVX_TIMESERIES_EXPORT Sanitizer {
 public:
  virtual ~Sanitizer();

  // Writes the converted copy of `source` to `destination`, which is replaced when it exists, and
  // syncs it. The source is only read.
  //
  // These failures come before the destination is touched: CannotOpen or InvalidArgument for a
  // source that cannot be read, is no such RRD file, is cut short or is 4 GiB or larger;
  // NothingToDo for one that is in the new layout already; InvalidArgument when both paths name the
  // same file; OutOfMemory; IoError when the destination cannot be created.
  //
  // Failures after that (IoError, InvalidArgument, OutOfMemory) leave a destination that is
  // incomplete and of no use. To replace a file, convert to a temporary path and rename.
  virtual StatusCode Convert(const std::string& source, const std::string& destination);

  // Whether `source` can be converted, without writing anything: Success when it is a whole file of
  // the old layout, and otherwise the code that Convert would return for it.
  StatusCode Check(const std::string& source) const;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
