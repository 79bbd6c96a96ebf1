#include "convert/backup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "replace/file_attributes.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool HaveSameContent(const OpenedFile& lhs, const OpenedFile& rhs) {
  constexpr std::size_t PIECE_SIZE = 65536;
  std::vector<char> lhsPiece(PIECE_SIZE);
  std::vector<char> rhsPiece(PIECE_SIZE);
  off_t offset = 0;
  while (true) {
    lhsPiece.resize(PIECE_SIZE);
    rhsPiece.resize(PIECE_SIZE);
    const ssize_t taken = pread(lhs.Get(), lhsPiece.data(), PIECE_SIZE, offset);
    if (taken < 0 || pread(rhs.Get(), rhsPiece.data(), PIECE_SIZE, offset) != taken) {
      return false;
    }
    lhsPiece.resize(static_cast<std::size_t>(taken));
    rhsPiece.resize(static_cast<std::size_t>(taken));
    if (taken == 0 || lhsPiece != rhsPiece) {
      return lhsPiece == rhsPiece;
    }
    offset += taken;
  }
}

void CopyToBackup(LockedDirectory& directory, const OpenedFile& original,
                  const std::string& backupName) {
  FileReplacement backup(directory, backupName);
  backup.CopyContent(original);
  CopyAttributes(original.Get(), original.GetStatus(), backup.Get());
  CopyTimes(original.GetStatus(), backup.Get());
  backup.PutInPlace();
}

}  // namespace

Backup FindBackup(const Directory& directory, const OpenedFile& original,
                  const std::string& backupName) {
  struct stat status {};
  if (fstatat(directory.Get(), backupName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    RequireCall(errno == ENOENT, "its backup cannot be made");
    return Backup::None;
  }
  if (IsSameFile(status, original.GetStatus())) {
    return Backup::Link;
  }
  RequireArgument(
      S_ISREG(status.st_mode) && HaveSameContent(original, OpenedFile(directory, backupName)),
      "its backup " + directory.GetPath() + "/" + backupName + " exists");
  return Backup::Copy;
}

void KeepBackup(LockedDirectory& directory, const OpenedFile& original,
                const std::string& backupName) {
  const bool isLinked = linkat(AT_FDCWD, original.GetPath().c_str(), directory.Get().Get(),
                               backupName.c_str(), AT_SYMLINK_FOLLOW) == 0;
  if (!isLinked) {
    RequireCall(errno == EPERM || errno == EOPNOTSUPP || errno == EMLINK,
                "its backup cannot be made");
    CopyToBackup(directory, original, backupName);
  }
  directory.Get().Sync();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
