#pragma once

#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether a file can be read and does not begin as an RRD file does.
bool IsOtherFile(const std::string& path);

// What the file of an id consists of. Throws CommandError for a file that cannot be read, with the
// reason.
Rrd::FileDescription DescribeFile(const PatientClient& client, const std::string& path,
                                  const std::string& zeltId);

// The same for a file with one data source. Throws CommandError for any other, with the names of
// its data sources.
Rrd::FileDescription DescribeSingleSource(const PatientClient& client, const std::string& path,
                                          const std::string& zeltId);

// The archive of the samples from `start` on: of those of last values the finest that reaches back
// to it, or else the finest of those that reach back furthest, as the RRD library chooses where a
// file has no others. Throws CommandError, with the archives of the file, where none is of last
// values.
const Rrd::ArchiveDescription& RequireSampleArchive(const Rrd::FileDescription& file,
                                                    long long start, const std::string& zeltId);

// "2 data sources (rx COUNTER, tx COUNTER), 1 archive (AVERAGE of 1 step)"
std::string DescribeShape(const Rrd::FileDescription& file);

// Seconds from one row of an archive to the next.
unsigned long GetRowLength(const Rrd::FileDescription& file,
                           const Rrd::ArchiveDescription& archive);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
