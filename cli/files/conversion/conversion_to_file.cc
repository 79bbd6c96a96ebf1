#include "files/conversion/conversion_to_file.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "error/command_error.h"
#include "files/conversion/logged_sanitizer.h"
#include "files/file_error.h"
#include "files/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// The path that a new file at `destination` has: through symbolic links, and with a directory.
std::string Resolve(const std::string& destination) {
  std::error_code error;
  const fs::path path = fs::canonical(destination, error);
  if (!error) {
    return path;
  }
  if (fs::is_symlink(destination, error)) {
    throw FileError("it is a symbolic link to nothing", StatusCode::InvalidArgument);
  }
  const fs::path absolute = fs::absolute(destination, error);
  if (error) {
    throw FileError("it is no path", StatusCode::InvalidArgument);
  }
  return absolute;
}

mode_t GetModeOfNewFiles() {
  constexpr mode_t READ_WRITE = 0666;
  const mode_t mask = umask(0);
  umask(mask);
  return READ_WRITE & ~mask;
}

void ConvertTo(const std::string& destination, const std::string& source,
               LoggedSanitizer& sanitizer) {
  const std::string target = Resolve(destination);
  struct stat old {};
  const bool exists = stat(target.c_str(), &old) == 0;
  if (exists && !S_ISREG(old.st_mode)) {
    throw FileError("it is no regular file", StatusCode::InvalidArgument);
  }
  LockedDirectory lock(fs::path(target).parent_path());
  FileReplacement replacement(target);
  sanitizer.Convert(source, replacement);
  if (exists) {
    replacement.SetOwnerAndMode(old);
  } else {
    replacement.SetMode(GetModeOfNewFiles());
  }
  replacement.PutInPlace();
  lock.Sync();
}

void CheckSource(const std::string& source, LoggedSanitizer& sanitizer) {
  struct stat status {};
  if (stat(source.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw CommandError(source, "is no regular file", StatusCode::InvalidArgument);
  }
  try {
    sanitizer.Check(source);
  } catch (const FileError& error) {
    const bool isNew = error.GetStatus() == StatusCode::NothingToDo;
    throw CommandError(source,
                       isNew ? "is in the new layout already, nothing written" : error.what(),
                       error.GetStatus());
  }
}

}  // namespace

void ConvertToFile(const std::string& source, const std::string& destination) {
  LoggedSanitizer sanitizer;
  CheckSource(source, sanitizer);
  std::error_code error;
  if (fs::equivalent(source, destination, error)) {
    throw CommandError(destination, "is the source itself; use --in-place",
                       StatusCode::InvalidArgument);
  }
  try {
    ConvertTo(destination, source, sanitizer);
  } catch (const FileError& fileError) {
    throw CommandError(destination, fileError.what(), fileError.GetStatus());
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
