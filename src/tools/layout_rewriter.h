#pragma once

#include <cstdint>
#include <string>

#include "timeseries/rrd/tool/layout_converter.h"
#include "timeseries/status_code.h"
#include "tools/file_reader.h"
#include "tools/file_writer.h"
#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Rewrites one recognised file for another machine: structure by structure, and then the values as
// they are.
class LayoutRewriter {
 public:
  // The descriptor must stay open.
  LayoutRewriter(int fd, const RecognisedFile& file, Layout targetLayout);

  // Whether every number of the header fits into the target.
  StatusCode CheckHeader();

  // Writes the whole new file and does not sync it.
  StatusCode WriteTo(FileWriter& writer);

  // Why the last call did not return Success.
  const std::string& GetReason() const { return reason; }

 private:
  StatusCode RewriteHeader(FileReader& reader, FileWriter* writer);
  StatusCode RewriteRecords(FileReader& reader, const Structure& structure, std::uint64_t count,
                            FileWriter* writer);
  StatusCode CopyValues(std::uint64_t offset, FileWriter& writer);
  StatusCode Fail(StatusCode status, const std::string& text);

  int fd;
  const RecognisedFile& file;
  const Machine& source;
  const Machine& target;
  std::string reason;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
