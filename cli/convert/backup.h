#pragma once

#include <string>

#include "replace/locked_directory.h"
#include "replace/opened_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// How the old file stands under the name of its backup.
enum class Backup { None, Link, Copy };

// The backup of a file that a run left which was killed before it replaced the file. Throws
// FileError when `backupName` names anything else.
Backup FindBackup(const Directory& directory, const OpenedFile& original,
                  const std::string& backupName);

// Makes the backup, as a hard link or, on file systems that have none, as a copy, and syncs its
// name: no loss of power leaves the new file without the old one. The file keeps its name
// meanwhile. Throws FileError.
void KeepBackup(LockedDirectory& directory, const OpenedFile& original,
                const std::string& backupName);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
