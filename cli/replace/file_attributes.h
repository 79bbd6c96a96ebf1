#pragma once

#include <sys/stat.h>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Gives one open file what belongs to another: owner, group, mode, access control lists and
// extended attributes. Throws FileError for what cannot be kept. At no moment may more people read
// the new file than the old one, provided that only its owner may at the start.
void CopyAttributes(int source, const struct stat& sourceStatus, int destination);

void CopyTimes(const struct stat& sourceStatus, int destination);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
