#include "points/source.h"

#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

Source::Source(const SelectedFile& selected, Context& commandContext)
    : zeltId(selected.zeltId),
      path(commandContext.GetPathOfNative(selected.directory, zeltId)),
      file(DescribeSingleSource(commandContext.rrdClient, path, zeltId)),
      context(commandContext) {}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
