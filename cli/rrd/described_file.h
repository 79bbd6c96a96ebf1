#pragma once

#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What the file of an id consists of. Throws CommandError for a file that cannot be read, with the
// reason.
Rrd::FileDescription DescribeFile(const PatientClient& client, const std::string& path,
                                  const std::string& zeltId);

// The same for a file with one data source. Throws CommandError for any other, with the names of
// its data sources.
Rrd::FileDescription DescribeSingleSource(const PatientClient& client, const std::string& path,
                                          const std::string& zeltId);

// The archive that a fetch from `start` on reads. Throws CommandError, with the archives of the
// file, where the library reads none of them.
const Rrd::ArchiveDescription& RequireArchive(const Rrd::FileDescription& file, long long start,
                                              const std::string& zeltId);

// Seconds from one row of an archive to the next.
unsigned long GetRowLength(const Rrd::FileDescription& file,
                           const Rrd::ArchiveDescription& archive);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
