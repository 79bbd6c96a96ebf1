#pragma once

#include <sys/stat.h>

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The attributes of a file or of a symbolic link itself. Throws FileError.
struct stat ReadAttributes(const std::string& path);

// Whether both are of one file, under whatever names.
bool IsSameFile(const struct stat& lhs, const struct stat& rhs);

// Whether a path names the same file as before and nobody has written to it.
bool IsUnchanged(const struct stat& before, const struct stat& now);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
