// A file that another process has locked: the library reports it, and each command waits for it. In
// this program one lock is refused in place of the other process.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <vector>

#include "support/command.h"
#include "support/files.h"
#include "support/leaks_of_librrd.h"
#include "support/one_file.h"
#include "timeseries/host.h"

namespace {

constexpr int NONE = 0;

std::string lockedPath;
int refused = NONE;  // the number of the lock that is refused; negative: from that one on
int lockCount = 0;   // of the file at `lockedPath`

bool IsRefused(int fd, int command) {
  struct stat opened {};
  struct stat named {};
  const bool isLock = (command == F_SETLK || command == F_SETLK64) && fstat(fd, &opened) == 0 &&
                      stat(lockedPath.c_str(), &named) == 0 && opened.st_ino == named.st_ino;
  lockCount += isLock ? 1 : 0;
  return isLock && (lockCount == refused || (refused < 0 && lockCount >= -refused));
}

}  // namespace

// With the names that the RRD library and this one use, for their widths of offsets and times.
#pragma GCC visibility push(default)
extern "C" {
int LockOrRefuse(int fd, int command, ...) __asm__("fcntl64");
int LockOrRefuse(int fd, int command, ...) {
  using Function = int(int, int, ...);
  static auto* const real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "fcntl64"));
  std::va_list list;
  va_start(list, command);
  void* const argument = va_arg(list, void*);
  va_end(list);
  if (IsRefused(fd, command)) {
    errno = EAGAIN;
    return -1;
  }
  return real(fd, command, argument);
}
int OtherLockOrRefuse(int, int, ...) __asm__("fcntl") __attribute__((alias("fcntl64")));
int TimeLockOrRefuse(int, int, ...) __asm__("__fcntl_time64") __attribute__((alias("fcntl64")));
}
#pragma GCC visibility pop

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long START = 1700000040;  // a multiple of 60

class LockedFile : public OneFile {
 protected:
  LockedFile() {
    nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
    lockedPath = path;
    MakeFile();
  }
  ~LockedFile() override { refused = NONE; }

  void MakeFile() const {
    EXPECT_EQ(client.Create(path, 60, START, NAN, NAN, 100), StatusCode::Success);
    EXPECT_EQ(client.Update(path, {{START + 60, 1}, {START + 120, 2}}), StatusCode::Success);
  }
};

// While another process writes a header, it may have any fault.
TEST_F(LockedFile, IsNotJudgedByItsHeader) {
  Rrd::FetchResult result;
  refused = -1;
  EXPECT_EQ(client.FetchRows(path, 0, 0, START, START + 120, result), StatusCode::Failure);
  EXPECT_TRUE(Failure::IsLocked());
  EXPECT_EQ(client.Migrate(path, 60, START + 120, NAN, NAN, 50), StatusCode::Failure);
  EXPECT_TRUE(Failure::IsLocked());
  ASSERT_EQ(truncate(path.c_str(), 200), 0);
  EXPECT_EQ(client.Fetch(path, START, START + 120, result), StatusCode::Failure);
  EXPECT_TRUE(Failure::IsLocked());
  refused = NONE;
  EXPECT_EQ(client.Fetch(path, START, START + 120, result), StatusCode::Failure);
  EXPECT_STREQ(Failure::GetReason(), "its header is cut off");
  EXPECT_EQ(Failure::GetKind(), FailureKind::Other);
}

// The RRD library stores the first sample, for now, and refuses the second one. Without a lock the
// file is put back by who opens it next.
TEST_F(LockedFile, HasNoHalfOfABatch) {
  const std::map<long long, double> batch = {{-5, 1}, {START + 180, 2}};
  bool isReached = true;
  for (int lock = 1; isReached; ++lock) {
    for (const int refusal : {-lock, lock}) {
      refused = NONE;
      MakeFile();
      const std::string before = ReadFile(path);
      refused = refusal;
      lockCount = 0;
      EXPECT_EQ(client.UpdateAtomically(path, batch, Rrd::Durability::Process),
                StatusCode::Failure);
      isReached = lockCount >= lock;
      refused = NONE;
      long long last = 0;
      EXPECT_EQ(client.GetLastTimestamp(path, last), StatusCode::Success);
      EXPECT_TRUE(ReadFile(path) == before) << refusal;
    }
  }
}

// Refuses each lock of a command in turn.
TEST_F(LockedFile, IsWaitedForByEveryCommand) {
  const std::vector<std::vector<std::string>> commands = {
      {"info", "topo:x"},
      {"query", "topo:x", "--interval", "1m"},
      {"query", "topo:x", "--interval", "all", "--function", "sum"},
      {"last", "topo:x"},
      {"export", "topo:x", "--format", "csv"},
      {"update", "topo:x", "1700000220:3", "1700000280:4"},
      {"migrate", "topo:x", "--step", "60", "--rows", "200"},
  };
  for (std::vector<std::string> command : commands) {
    SCOPED_TRACE(command[0]);
    command.insert(command.end(), {"-d", directory.GetPath()});
    lockCount = 1;  // at least
    for (int lock = 1; lockCount >= lock; ++lock) {
      refused = NONE;
      MakeFile();
      refused = lock;
      lockCount = 0;
      testing::internal::CaptureStdout();
      const int status = RunInProcess(command);
      testing::internal::GetCapturedStdout();
      EXPECT_EQ(status, 0) << "lock " << lock;
    }
    EXPECT_GT(lockCount, 0);
  }
}

}  // namespace
