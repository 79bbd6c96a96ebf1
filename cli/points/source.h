#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "points/context.h"
#include "points/selected_files.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// RRD files have no sample at the epoch or before it, where the RRD library counts steps
// differently.
constexpr long long EARLIEST_SAMPLE = 1;

// A data source of an opened file. The file is described once, when it is opened. The context must
// outlive it.
struct Source {
  // That of a file with a single one. Throws CommandError for any other file.
  Source(const SelectedFile& selected, Context& commandContext);

  // One of several, or the only one, in the place `sourceColumn`.
  Source(const std::string& nameOfFile, const std::string& filePath,
         std::shared_ptr<const Rrd::FileDescription> description, unsigned long sourceColumn,
         Context& commandContext);

  // The same of the file as it is now. Throws CommandError where it has become another one.
  Source DescribeAgain() const;

  std::string fileName;  // as messages have it
  std::string name;      // the same with the name of the data source, where there are several
  std::string path;
  std::shared_ptr<const Rrd::FileDescription> described;
  const Rrd::FileDescription& file;
  Context& context;
  unsigned long column = 0;
  std::string sourceName;     // empty where it is the only one
  bool hasSpans = false;      // rows of averages answer, and no samples
  bool isByArchive = false;   // rows are read of one archive, as the RRD library could take another
  std::string consolidation;  // of the rows that are asked for; empty for samples and points
};

// Requires that the file has data sources of all these names. Throws CommandError.
void RequireSources(const std::vector<std::string>& names, const std::string& fileName,
                    const Rrd::FileDescription& file);

// The data sources of a file, all of them or those of these names, in their order. Throws
// CommandError for a name that it does not have.
std::vector<Source> OpenSources(const SelectedFile& selected, const std::vector<std::string>& names,
                                Context& context);

// The same for a question that asks for the rows themselves, each consolidation function on its
// own.
std::vector<Source> OpenSourcesOfRows(const SelectedFile& selected,
                                      const std::vector<std::string>& names, Context& context);

// Calls `work` for each of the data sources of a file. Of several, one that fails is told on
// standard error, and the others are gone on with; the exit status is EXIT_FAILED then.
void ForEachSource(const std::vector<Source>& sources, Context& context,
                   const std::function<void(const Source&)>& work);

// What is sent of a data source, with more labels.
Series MakeSeries(const SelectedFile& file, const Source& source, const Labels& more);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
