#pragma once

#include <sys/stat.h>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Copies owner, group, mode, access control lists and extended attributes from one open file to
// another. Throws FileError for what cannot be kept. At no moment can more people read the new file
// than the old one, provided that only its owner can at the start.
void CopyAttributes(int source, const struct stat& sourceStatus, int destination);

void CopyTimes(const struct stat& sourceStatus, int destination);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
