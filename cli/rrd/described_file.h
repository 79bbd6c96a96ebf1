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

// "2 data sources (rx COUNTER, tx COUNTER), 1 archive (AVERAGE of 1 step)"
std::string DescribeShape(const Rrd::FileDescription& file);

// Seconds from one row of an archive to the next.
unsigned long GetRowLength(const Rrd::FileDescription& file,
                           const Rrd::ArchiveDescription& archive);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
