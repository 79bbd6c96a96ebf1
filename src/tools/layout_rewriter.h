#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "timeseries/rrd/tool/layout_converter.h"
#include "timeseries/status_code.h"
#include "tools/file_reader.h"
#include "tools/file_writer.h"
#include "tools/layout_table.h"
#include "tools/record.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// Rewrites one recognised file for another machine: structure by structure, then the values, bit by
// bit the same.
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
  // All structures of one kind.
  struct Part {
    const Structure& structure;
    std::uint64_t count;
    // The kinds of the unions of a record; nothing when its type is unknown.
    std::function<std::string_view(const Record& record, std::uint64_t index)> getUnions;
  };

  StatusCode RewriteHeader(FileReader& reader, FileWriter* writer);
  StatusCode RewriteRecords(FileReader& reader, const Part& part, FileWriter* writer);
  StatusCode CopyValues(std::uint64_t offset, FileWriter& writer);
  StatusCode Fail(StatusCode status, const std::string& text);

  int fd;
  const RecognisedFile& file;
  const Machine& source;
  const Machine& target;
  std::string reason;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
