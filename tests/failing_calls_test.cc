// Each system call of each operation fails, once, or it and all after it: the operation tells it or
// does without, leaves no descriptor open, and the file has what it had or what it was to get.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>

#include "support/leaks_of_librrd.h"
#include "support/legacy_file.h"
#include "support/rrd_file.h"
#include "support/temporary_directory.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/layout_converter.h"
#include "timeseries/rrd/tool/sanitizer.h"
#include "timeseries/rrd_client.h"

namespace {

enum class Mode { None, Once, FromThenOn };

Mode mode = Mode::None;
int failing = 0;  // the number of the call that fails
int callCount = 0;

// Only calls of the library itself are counted.
bool IsToFail(const void* caller) {
  Dl_info object{};
  if (mode == Mode::None || dladdr(caller, &object) == 0 ||
      std::strstr(object.dli_fname, "libnvx-timeseries-database") == nullptr) {
    return false;
  }
  ++callCount;
  return mode == Mode::Once ? callCount == failing : callCount >= failing;
}

template <typename Result, typename... Arguments>
Result CallOrFail(const char* name, const void* caller, Arguments... arguments) {
  if (IsToFail(caller)) {
    errno = EIO;
    return static_cast<Result>(-1);
  }
  return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, name))(arguments...);
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
DEFINE_CALL(ssize_t, pread, (int fd, void* data, size_t size, off_t offset), fd, data, size, offset)
DEFINE_CALL(ssize_t, pread64, (int fd, void* data, size_t size, off64_t offset), fd, data, size,
            offset)
DEFINE_CALL(ssize_t, pwrite, (int fd, const void* data, size_t size, off_t offset), fd, data, size,
            offset)
DEFINE_CALL(ssize_t, read, (int fd, void* data, size_t size), fd, data, size)
DEFINE_CALL(int, stat64, (const char* path, struct stat64* status), path, status)
DEFINE_CALL(int, statx, (int fd, const char* path, int flags, unsigned int mask, void* status), fd,
            path, flags, mask, status)
DEFINE_CALL(int, unlink, (const char* path), path)
DEFINE_CALL(ssize_t, write, (int fd, const void* data, size_t size), fd, data, size)
}
#pragma GCC visibility pop

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long START = 1700000040;  // a multiple of 60
constexpr long long END = START + 600;

std::ptrdiff_t CountDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::distance(begin(descriptors), end(descriptors));
}

class FailingCalls : public testing::Test {
 protected:
  using Operation = std::function<StatusCode()>;
  using Preparation = std::function<void()>;

  FailingCalls() { nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None); }
  ~FailingCalls() override { mode = Mode::None; }

  void MakeFile() const {
    std::map<long long, double> samples;
    for (long long time = START; time < END; time += 60) {
      samples[time] = 1;
    }
    std::filesystem::remove(path + "-journal");
    ASSERT_EQ(client.Create(path, 60, START - 60, NAN, NAN, 20), StatusCode::Success);
    ASSERT_EQ(client.Update(path, samples), StatusCode::Success);
  }

  StatusCode Store(Rrd::Durability durability) const {
    return client.UpdateAtomically(path, {{END, 1}, {END + 60, 1}}, durability);
  }

  // The last update, the rows, and the samples among them.
  std::tuple<long long, unsigned long, long> Look() const {
    Rrd::FileDescription description;
    Rrd::FetchResult result;
    EXPECT_EQ(client.Describe(path, description), StatusCode::Success) << Failure::GetReason();
    EXPECT_EQ(client.Fetch(path, START, END + 120, result), StatusCode::Success);
    const double* const first = result.GetData();
    return {description.lastUpdate, description.archives.at(0).rowCount,
            std::count(first, first + result.GetSampleCount(), 1.0)};
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

  void FailEach(const std::string& name, const Preparation& prepare,
                const Operation& operation) const {
    SCOPED_TRACE(name);
    MakeFile();
    prepare();
    const auto before = Look();
    prepare();
    ASSERT_EQ(operation(), StatusCode::Success) << Failure::GetReason();
    const auto after = Look();
    for (const Mode howToFail : {Mode::Once, Mode::FromThenOn}) {
      bool hasFailed = true;
      for (int call = 1; hasFailed; ++call) {
        SCOPED_TRACE("call " + std::to_string(call));
        MakeFile();
        prepare();
        const auto descriptors = CountDescriptors();
        const StatusCode status = Run(howToFail, call, operation);
        hasFailed = callCount >= call;
        EXPECT_EQ(CountDescriptors(), descriptors);
        const auto now = Look();
        EXPECT_TRUE(now == after || (now == before && status != StatusCode::Success))
            << static_cast<int>(status) << ' ' << testing::PrintToString(now);
      }
    }
  }

  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_x.rrd");
  const RrdClient client;
};

TEST_F(FailingCalls, OfRrdClient) {
  const Preparation nothing = [] {};
  FailEach("GetLastTimestamp", nothing, [&] {
    long long time = 0;
    return client.GetLastTimestamp(path, time);
  });
  FailEach("Fetch", nothing, [&] {
    Rrd::FetchResult result;
    return client.Fetch(path, START, END, result);
  });
  FailEach("Describe", nothing, [&] {
    Rrd::FileDescription description;
    return client.Describe(path, description);
  });
  FailEach("Update", nothing, [&] {
    return client.Update(path, std::map<long long, double>{{END, 1}});
  });
  FailEach("Migrate", nothing, [&] { return client.Migrate(path, 60, END - 120, NAN, NAN, 40); });
  for (const Rrd::Durability durability : {Rrd::Durability::Process, Rrd::Durability::Power}) {
    FailEach("UpdateAtomically", nothing, [&] { return Store(durability); });
    FailEach(
        "UpdateAtomically, with a kept journal",
        [&] {
          return client.UpdateAtomically(path, {{END - 30, 1}}, Rrd::Durability::Power);
        },
        [&] { return Store(durability); });
  }
}

// The journal of an update that could neither be committed nor undone.
TEST_F(FailingCalls, OfTheUndoingOfAnUpdate) {
  for (const Rrd::Durability durability : {Rrd::Durability::Process, Rrd::Durability::Power}) {
    // From the last call but some on; how many reads are before it differs from file to file.
    const Preparation interrupt = [&] {
      do {
        MakeFile();
        ASSERT_EQ(Run(Mode::Once, 0, [&] { return Store(durability); }), StatusCode::Success);
        const int commit = callCount - (durability == Rrd::Durability::Power ? 3 : 1);
        MakeFile();
        static_cast<void>(Run(Mode::FromThenOn, commit, [&] { return Store(durability); }));
      } while (!HasJournal());
    };
    FailEach("Fetch", interrupt, [&] {
      Rrd::FetchResult result;
      return client.Fetch(path, START, END, result);
    });
    FailEach("Update", interrupt, [&] {
      return client.Update(path, std::map<long long, double>{{END, 1}});
    });
    FailEach("UpdateAtomically", interrupt, [&] { return Store(durability); });
  }
}

// What was not converted as a whole is told.
TEST_F(FailingCalls, OfConversions) {
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
    ASSERT_EQ(operation(), StatusCode::Success) << Failure::GetReason();
    const std::string whole = ReadFile(made);
    for (const Mode howToFail : {Mode::Once, Mode::FromThenOn}) {
      bool hasFailed = true;
      for (int call = 1; hasFailed; ++call) {
        const auto descriptors = CountDescriptors();
        const StatusCode status = Run(howToFail, call, operation);
        hasFailed = callCount >= call;
        EXPECT_EQ(CountDescriptors(), descriptors);
        EXPECT_TRUE(status != StatusCode::Success || ReadFile(made) == whole) << call;
      }
    }
  }
}

}  // namespace
