// Each system call of each operation fails, once, or it and all after it, or a write is
// interrupted, before it began or in the middle: the operation tells it or does without, leaves no
// descriptor open, and the file has what it had or what it was to get.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support/faulty_file.h"
#include "support/files.h"
#include "support/leaks_of_librrd.h"
#include "support/rrd_file.h"
#include "timeseries/rrd/tool/layout_converter.h"
#include "timeseries/rrd/tool/sanitizer.h"

namespace {

enum class Mode { None, Once, FromThenOn, Interrupted, Cut };

Mode mode = Mode::None;
int failing = 0;  // the number of the call that fails
int callCount = 0;

// Only calls of the library itself are counted.
bool IsToFail(const char* name, const void* caller) {
  Dl_info object{};
  const bool isOfWrites = mode == Mode::Interrupted || mode == Mode::Cut;
  if (mode == Mode::None || (isOfWrites && std::strcmp(name, "write") != 0) ||
      dladdr(caller, &object) == 0 ||
      std::strstr(object.dli_fname, "libnvx-timeseries-database") == nullptr) {
    return false;
  }
  ++callCount;
  return mode == Mode::FromThenOn ? callCount >= failing : callCount == failing;
}

template <typename Argument>
Argument Shorten(Argument argument) {
  return argument;
}
size_t Shorten(size_t size) { return size - size / 2; }

template <typename Result, typename... Arguments>
Result CallOrFail(const char* name, const void* caller, Arguments... arguments) {
  const auto call = reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, name));
  if (IsToFail(name, caller)) {
    if (mode == Mode::Cut) {
      return call(Shorten(arguments)...);
    }
    errno = mode == Mode::Interrupted ? EINTR : mode == Mode::Once ? EIO : EROFS;
    return static_cast<Result>(-1);
  }
  if (std::strstr(name, "sync") != nullptr) {
    return 0;  // which takes long and shows nothing here
  }
  return call(arguments...);
}

}  // namespace

// Defines a system call that may fail.
#define DEFINE_CALL(result, name, parameters, ...)                              \
  result Fail_##name parameters __asm__(#name);                                 \
  result Fail_##name parameters {                                               \
    return CallOrFail<result>(#name, __builtin_return_address(0), __VA_ARGS__); \
  }

#pragma GCC visibility push(default)
extern "C" {
DEFINE_CALL(int, access, (const char* path, int rights), path, rights)
DEFINE_CALL(int, fchmod, (int fd, mode_t rights), fd, rights)
DEFINE_CALL(int, fchown, (int fd, uid_t user, gid_t group), fd, user, group)
DEFINE_CALL(int, fdatasync, (int fd), fd)
DEFINE_CALL(int, flock, (int fd, int operation), fd, operation)
DEFINE_CALL(int, fstat, (int fd, struct stat* status), fd, status)
DEFINE_CALL(int, fstat64, (int fd, struct stat64* status), fd, status)
DEFINE_CALL(int, fsync, (int fd), fd)
DEFINE_CALL(off64_t, lseek64, (int fd, off64_t offset, int base), fd, offset, base)
DEFINE_CALL(int, lstat, (const char* path, struct stat* status), path, status)
DEFINE_CALL(int, open, (const char* path, int flags, mode_t rights), path, flags, rights)
DEFINE_CALL(int, open64, (const char* path, int flags, mode_t rights), path, flags, rights)
DEFINE_CALL(ssize_t, pread64, (int fd, void* data, size_t size, off64_t offset), fd, data, size,
            offset)
DEFINE_CALL(ssize_t, pwrite64, (int fd, const void* data, size_t size, off64_t offset), fd, data,
            size, offset)
DEFINE_CALL(ssize_t, read, (int fd, void* data, size_t size), fd, data, size)
DEFINE_CALL(int, stat64, (const char* path, struct stat64* status), path, status)
DEFINE_CALL(int, statx, (int fd, const char* path, int flags, unsigned int mask, void* status), fd,
            path, flags, mask, status)
DEFINE_CALL(int, unlink, (const char* path), path)
DEFINE_CALL(ssize_t, write, (int fd, const void* data, size_t size), fd, data, size)
#if __SIZEOF_LONG__ == 8
DEFINE_CALL(ssize_t, pread, (int fd, void* data, size_t size, off_t offset), fd, data, size, offset)
DEFINE_CALL(ssize_t, pwrite, (int fd, const void* data, size_t size, off_t offset), fd, data, size,
            offset)
#else  // with times of 64 bits
DEFINE_CALL(int, __fstat64_time64, (int fd, struct stat* status), fd, status)
DEFINE_CALL(int, __lstat64_time64, (const char* path, struct stat* status), path, status)
DEFINE_CALL(int, __stat64_time64, (const char* path, struct stat* status), path, status)
#endif
}
#pragma GCC visibility pop

using namespace nvx::TimeSeriesDatabase;

namespace {

class FailingCalls : public FaultyFile {
 protected:
  FailingCalls() { nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None); }
  ~FailingCalls() override { mode = Mode::None; }

  StatusCode Store(Rrd::Durability durability) const {
    return client.UpdateAtomically(path, {{END, 1}, {END + 60, 1}}, durability);
  }

  // Of an update that is to be undone.
  bool HasJournal() const {
    std::error_code error;
    const auto size = std::filesystem::file_size(path + "-journal", error);
    return !error && size > 100;
  }

  static StatusCode Run(Mode howToFail, int call, const Operation& operation) {
    mode = howToFail;
    failing = call;
    callCount = 0;
    const StatusCode status = operation();
    mode = Mode::None;
    return status;
  }

  void FailEach(const std::string& name, const std::function<void()>& prepare,
                const Operation& operation, StatusCode expected = StatusCode::Success) const {
    SCOPED_TRACE(name);
    for (const Mode howToFail : {Mode::Once, Mode::FromThenOn, Mode::Interrupted, Mode::Cut}) {
      FailEachCall(prepare, operation, expected, [&](int call) {
        const StatusCode status = Run(howToFail, call, operation);
        return std::pair(status, callCount >= call);
      });
    }
  }

  // The journal is to be given to another user, if this one may do that.
  const std::function<void()> make = [this] {
    MakeFile();
    static_cast<void>(chown(path.c_str(), 65534, 65534) + chmod(path.c_str(), 0666));
  };
};

TEST_F(FailingCalls, OfRrdClient) {
  for (const auto& [name, read] : ListReads(path)) {
    FailEach(name, make, read);
  }
  FailEach("Update", make, [&] {
    return client.Update(path, std::map<long long, double>{{END, 1}});
  });
  // The RRD library reads some bytes behind its step of a source, where the memory of a sanitizer
  // may end.
  if (IS_SANITIZED == 0) {
    FailEach("Migrate", make, [&] { return client.Migrate(path, 60, END - 120, NAN, NAN, 40); });
  }
  for (const Rrd::Durability durability : {Rrd::Durability::Process, Rrd::Durability::Power}) {
    FailEach("UpdateAtomically", make, [&] { return Store(durability); });
    FailEach(
        "UpdateAtomically, with a kept journal",
        [&] {
          MakeFile();
          ASSERT_EQ(client.UpdateAtomically(path, {{END - 30, 1}}, Rrd::Durability::Power),
                    StatusCode::Success);
        },
        [&] { return Store(durability); });
    // Of a batch whose second sample is refused; what is stored of the first one is undone.
    FailEach(
        "UpdateAtomically, refused", make,
        [&] {
          return client.UpdateAtomically(path, {{-5, 1}, {END, 2}}, durability);
        },
        StatusCode::Failure);
  }
}

// The journal of an update that could neither be committed nor undone.
TEST_F(FailingCalls, OfTheUndoingOfAnUpdate) {
  for (const Rrd::Durability durability : {Rrd::Durability::Process, Rrd::Durability::Power}) {
    // From the last call but some on; how many reads are before it differs from file to file.
    const auto interrupt = [&] {
      do {
        MakeFile();
        ASSERT_EQ(Run(Mode::Once, 0, [&] { return Store(durability); }), StatusCode::Success);
        const int commit = callCount - (durability == Rrd::Durability::Power ? 3 : 1);
        MakeFile();
        static_cast<void>(Run(Mode::FromThenOn, commit, [&] { return Store(durability); }));
      } while (!HasJournal());
    };
    const Operation fetch = ListReads(path).at("Fetch");
    FailEach("Fetch", interrupt, fetch);
    FailEach("Update", interrupt, [&] {
      return client.Update(path, std::map<long long, double>{{END, 1}});
    });
    FailEach("UpdateAtomically", interrupt, [&] { return Store(durability); });
    bool hasFailed = true;
    for (int call = 1; hasFailed; ++call) {  // the journal is all that tells of the update
      interrupt();
      std::filesystem::resize_file(path, std::filesystem::file_size(path) - 8);
      EXPECT_NE(Run(Mode::Once, call, fetch), StatusCode::Success);
      EXPECT_TRUE(HasJournal()) << call;
      hasFailed = callCount >= call;
    }
    if (geteuid() == 0) {
      std::filesystem::permissions(directory.GetPath(), std::filesystem::perms(0755));
      FailEach(
          "Fetch by a user who may not write",
          [&] {
            interrupt();
            ASSERT_EQ(chown(path.c_str(), 0, 0) + chmod(path.c_str(), 0644), 0);
          },
          [&] {
            EXPECT_EQ(seteuid(65534), 0);
            const StatusCode status = fetch();
            EXPECT_EQ(seteuid(0), 0);
            return status;
          },
          StatusCode::Failure);
    }
  }
}

// What was not converted as a whole is told.
TEST_F(FailingCalls, OfConversions) {
  close(STDIN_FILENO);  // the next file to be opened gets its number
  const std::string large = TEST_DATA "/legacy/never-updated.legacy.rrd";
  const std::string made = directory.GetPath("made.rrd");
  const std::string wide = directory.GetPath("wide.rrd");  // with a header of several pieces
  WriteFile(wide, RrdFileBytes{400}.Make());
  const Operation operations[] = {
      [&] {
        return Rrd::Tool::LayoutConverter().Convert(wide, made, Rrd::Tool::Layout::Arm32Time32);
      },
      [&] { return Rrd::Tool::Sanitizer().Convert(large, made); },
      [&] { return Rrd::Tool::LayoutConverter().Convert(large, made, Rrd::Tool::Layout::Bits64); },
  };
  for (const Operation& operation : operations) {
    std::string whole;
    FailEach("", make, [&] {
      const StatusCode status = operation();
      // HeaderConverter ends at an interruption.
      EXPECT_TRUE(mode != Mode::Interrupted || status == StatusCode::Success ||
                  &operation == operations + 1);
      whole = whole.empty() ? ReadFile(made) : whole;
      EXPECT_TRUE(status != StatusCode::Success || ReadFile(made) == whole);
      return status;
    });
  }
}

}  // namespace
