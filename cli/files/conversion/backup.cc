#include "files/conversion/backup.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "files/file_attributes.h"
#include "files/file_error.h"
#include "files/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

bool HaveSameContent(const std::string& lhsPath, const std::string& rhsPath) {
  std::ifstream lhs(lhsPath, std::ios::binary);
  std::ifstream rhs(rhsPath, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  return lhs && rhs && std::equal(Bytes(lhs), Bytes(), Bytes(rhs), Bytes());
}

void CopyToBackup(const std::string& path, const std::string& backupPath,
                  const struct stat& original) {
  FileReplacement backup(backupPath);
  std::error_code error;
  fs::copy_file(path, backup.GetTemporaryPath(), fs::copy_options::overwrite_existing, error);
  if (error) {
    throw FileError("its backup cannot be written: " + error.message(), StatusCode::IoError);
  }
  backup.SetOwnerAndMode(original);
  backup.SetTimes(original);
  backup.Sync();
  backup.PutInPlace();
}

}  // namespace

Backup FindBackup(const std::string& path, const std::string& backupPath,
                  const struct stat& original) {
  struct stat backup {};
  if (lstat(backupPath.c_str(), &backup) != 0) {
    RequireCall(errno == ENOENT, "its backup cannot be made");
    return Backup::None;
  }
  if (IsSameFile(backup, original)) {
    return Backup::Link;
  }
  RequireArgument(S_ISREG(backup.st_mode) && HaveSameContent(path, backupPath),
                  "its backup " + backupPath + " exists");
  return Backup::Copy;
}

void KeepBackup(const std::string& path, const std::string& backupPath,
                const struct stat& original) {
  if (link(path.c_str(), backupPath.c_str()) == 0) {
    return;
  }
  RequireCall(errno == EPERM || errno == EOPNOTSUPP || errno == EMLINK,
              "its backup cannot be made");
  CopyToBackup(path, backupPath, original);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
