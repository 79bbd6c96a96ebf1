#pragma once

#include <sys/stat.h>

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// How the old file stands under the path of its backup.
enum class Backup { None, Link, Copy };

// The backup of the file at `path` that a run left which was killed before it replaced the file.
// Throws FileError when something else lies at `backupPath`.
Backup FindBackup(const std::string& path, const std::string& backupPath,
                  const struct stat& original);

// Makes the backup, as a hard link or, on file systems that have none, as a copy. The file keeps
// its path meanwhile. Throws FileError.
void KeepBackup(const std::string& path, const std::string& backupPath,
                const struct stat& original);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
