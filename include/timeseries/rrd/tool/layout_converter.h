#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "timeseries/export.h"
#include "timeseries/rrd/tool/layout.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// What the bytes of an RRD file say about it.
struct RecognisedFile {
  Layout layout = Layout::Bits64;
  std::uint64_t dsCount = 0;     // data sources
  std::uint64_t rraCount = 0;    // archives
  std::uint64_t rowCount = 0;    // of all archives, each row with one value per data source
  std::uint64_t step = 0;        // seconds
  std::uint64_t lastUpdate = 0;  // seconds since the epoch
  std::string version;           // of the file format, "0003"
  std::uint64_t unusedSize = 0;  // bytes behind the values: 0, or the 4 or 8 of an unused word
};

// Recognises RRD files (versions 0001 to 0005) of any machine and rewrites them for another one, in
// the same version. An unused word at the end of an old file is accepted and left out.
//
// Every failure writes one line to the log and keeps its reason. An object is used by one thread.
class NVX_TIMESERIES_EXPORT LayoutConverter {
 public:
  // Finds the layout of a file, which is only read. A file that may have either of two layouts is
  // refused, and so is one whose header contradicts itself.
  //
  // CannotOpen or InvalidArgument, with `file` unchanged, or OutOfMemory.
  StatusCode Recognise(const std::string& path, RecognisedFile& file);

  // Whether Convert would write a copy of `source`, without writing anything: Success, or what
  // Convert would return before it touches the destination.
  StatusCode Check(const std::string& source, Layout target);

  // Writes a copy of `source` in the layout `target`, one with the low byte first, to
  // `destination`, which is replaced when it exists, and syncs it. The source is only read.
  //
  // Before the destination is touched: the failures of Recognise; NothingToDo for a file that has
  // the layout already and no unused word; InvalidArgument for another target, for a number or a
  // time that does not fit into the target, for an unknown type of data source or archive, and when
  // both paths name the same file; IoError when the destination cannot be created.
  //
  // Later failures (IoError, InvalidArgument) leave an incomplete destination that is of no use.
  // To replace a file, convert to a temporary path and rename.
  StatusCode Convert(const std::string& source, const std::string& destination, Layout target);

  // Why the last call did not return Success, as in its log line; empty when it did.
  const std::string& GetReason() const { return reason; }

  // The layouts that the file of the last call may have, when it was refused because it is shorter
  // than its header or than it says: its end was cut off. Empty for any other outcome.
  const std::vector<Layout>& GetCutOffLayouts() const { return cutOff; }

 private:
  NVX_TIMESERIES_HIDDEN StatusCode Report(const char* operation, StatusCode status,
                                          const std::string& text);

  std::string reason;
  std::vector<Layout> cutOff;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
