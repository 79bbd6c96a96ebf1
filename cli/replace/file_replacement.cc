#include "replace/file_replacement.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <vector>

#include "replace/file_attributes.h"
#include "replace/file_error.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsFile(int directory, const std::string& name, int file) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 &&
         fstatat(directory, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         IsSameFile(opened, named);
}

// Moves a file to another directory, where its name must be free. Some file systems can do that
// only with a second name.
bool MoveToFreeName(int from, int to, const char* name) {
  if (renameat2(from, name, to, name, RENAME_NOREPLACE) == 0) {
    return true;
  }
  const bool isUnknown = errno == EINVAL || errno == ENOSYS;
  return isUnknown && linkat(from, name, to, name, 0) == 0 && unlinkat(from, name, 0) == 0;
}

// Waits until nobody stores a batch in the file, and keeps others from storing one, which would be
// lost. Without such locks in a file system there are no such batches either.
void LockAgainstBatches(int file) {
  using namespace std::chrono_literals;
  const auto lock = [file] { return flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; };
  RequireCall(Retry(10s, 1ms, lock), "another process keeps it locked");
}

}  // namespace

FileReplacement::FileReplacement(LockedDirectory& fileDirectory, const std::string& fileName)
    : directory(fileDirectory),
      name(fileName),
      descriptor(openat(directory.GetPrivateDirectory().Get(), name.c_str(),
                        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR)) {
  RequireCall(descriptor.IsOpen(), "no temporary file can be made beside it");
}

FileReplacement::~FileReplacement() {
  if (!isInPlace) {
    unlinkat(directory.GetPrivateDirectory().Get(), name.c_str(), 0);
  }
}

std::string FileReplacement::GetPath() const {
  return directory.GetPrivateDirectory().GetPath() + "/" + name;
}

void FileReplacement::RequireRoom(off_t size) const {
  const int privateDirectory = directory.GetPrivateDirectory().Get();
  constexpr char PROBE[] = "room";
  const FileDescriptor probe(
      openat(privateDirectory, PROBE, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  unlinkat(privateDirectory, PROBE, 0);
  RequireCall(probe.IsOpen() && (fallocate(probe.Get(), 0, 0, size) == 0 || errno == EOPNOTSUPP),
              "there is no room for its new file");
}

void FileReplacement::Reopen() {
  descriptor = FileDescriptor(openat(directory.GetPrivateDirectory().Get(), name.c_str(),
                                     O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  RequireCall(descriptor.IsOpen(), "its new file cannot be opened");
}

void FileReplacement::CopyContent(const OpenedFile& source) const {
  constexpr std::size_t PIECE_SIZE = 65536;
  std::vector<char> piece(PIECE_SIZE);
  off_t offset = 0;
  while (true) {
    const ssize_t taken = pread(source.Get(), piece.data(), piece.size(), offset);
    RequireCall(taken >= 0, "it cannot be read");
    if (taken == 0) {
      return;
    }
    for (ssize_t done = 0; done < taken;) {
      const ssize_t written =
          pwrite(Get(), piece.data() + done, static_cast<std::size_t>(taken - done), offset + done);
      RequireCall(written >= 0, "its copy cannot be written");
      done += written;
    }
    offset += taken;
  }
}

// GCOVR_EXCL_START: on a full disk no counts are written
std::string FileReplacement::FindGrowthError() const {
  const off_t end = lseek(Get(), 0, SEEK_END);
  const char byte = 0;
  return pwrite(Get(), &byte, 1, end) == 1 ? "" : std::generic_category().message(errno);
}
// GCOVR_EXCL_STOP

void FileReplacement::Sync() const { RequireCall(fsync(Get()) == 0, "it cannot be synced"); }

void FileReplacement::SetMode(mode_t mode) const {
  const mode_t mask = umask(0);
  umask(mask);
  RequireCall(fchmod(Get(), mode & READ_WRITE & ~mask) == 0, "its mode cannot be set");
}

void FileReplacement::Replace(const OpenedFile& old) {
  CopyAttributes(old.Get(), old.GetStatus(), Get());
  Sync();
  RequireOwnFile();
  LockAgainstBatches(old.Get());
  LockAgainstBatches(Get());
  old.RequireUnchanged();
  InterruptionGuard::Check();
  RequireCall(renameat(directory.GetPrivateDirectory().Get(), name.c_str(), directory.Get().Get(),
                       name.c_str()) == 0,
              "it cannot be replaced");
  isInPlace = true;
  // It is that of the old file: nobody could begin a batch in the new one.
  unlinkat(directory.Get().Get(), (name + JOURNAL_SUFFIX).c_str(), 0);
  flock(Get(), LOCK_UN);
}

void FileReplacement::PutInPlace() {
  Sync();
  RequireOwnFile();
  InterruptionGuard::Check();
  const bool isMoved =
      MoveToFreeName(directory.GetPrivateDirectory().Get(), directory.Get().Get(), name.c_str());
  RequireArgument(isMoved || errno != EEXIST, "it exists");
  RequireCall(isMoved, "it cannot be put in place");
  isInPlace = true;
}

void FileReplacement::ReplaceOrMake(const std::optional<OpenedFile>& old, mode_t mode) {
  if (old) {
    Replace(*old);
  } else {
    SetMode(mode);
    PutInPlace();
  }
  directory.Get().Sync();
}

void FileReplacement::RequireOwnFile() const {
  RequireArgument(IsFile(directory.GetPrivateDirectory().Get(), name, Get()),
                  "its new file was exchanged");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
