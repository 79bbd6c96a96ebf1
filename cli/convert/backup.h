#pragma once

#include <string>

#include "replace/locked_directory.h"
#include "replace/opened_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What stands under the name of the backup.
enum class Backup { None, Link, Copy };

// Finds a backup that was left by a run that was killed before it replaced the file. Throws
// FileError when `backupName` names anything else.
Backup FindBackup(const Directory& directory, const OpenedFile& original,
                  const std::string& backupName);

// Makes the backup as a hard link or, on file systems without them, as a copy, and syncs its name,
// so that no loss of power leaves only the new file. The file keeps its own name meanwhile. Throws
// FileError.
void KeepBackup(LockedDirectory& directory, const OpenedFile& original,
                const std::string& backupName);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
