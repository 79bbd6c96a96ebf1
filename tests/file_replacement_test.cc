// The replacement of data files, while other processes hold, swap or remove files.

#include "replace/file_replacement.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mman.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <map>
#include <tuple>

#include "convert/conversion_plan.h"
#include "convert/in_place_conversion.h"
#include "replace/file_error.h"
#include "support/child.h"
#include "support/legacy_file.h"
#include "support/resource_limit.h"
#include "support/temporary_directory.h"

using namespace nvx::TimeSeriesDatabase::CommandLine;
namespace fs = std::filesystem;

namespace {

std::string exchangeWith;  // another user puts this in place of a directory that was just made

std::map<std::string, int> faults;  // the errors of the calls that fail

template <typename Call, typename... Arguments>
int CallOrFail(Call* /*call*/, const char* name, int error, Arguments... arguments) {
  errno = error;
  return error == 0 ? reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name))(arguments...) : -1;
}

}  // namespace

extern "C" {
int linkat(int from, const char* name, int to, const char* other, int flags) noexcept {
  return CallOrFail(linkat, "linkat", flags == 0 ? 0 : faults["linkat"], from, name, to, other,
                    flags);
}
int renameat(int from, const char* name, int to, const char* other) noexcept {
  return CallOrFail(renameat, "renameat", faults["renameat"], from, name, to, other);
}
int renameat2(int from, const char* name, int to, const char* other, unsigned int flags) noexcept {
  return CallOrFail(renameat2, "renameat2", faults["renameat2"], from, name, to, other, flags);
}
}

extern "C" char* mkdtemp(char* path) noexcept {
  static const auto make = reinterpret_cast<char* (*)(char*)>(dlsym(RTLD_NEXT, "mkdtemp"));
  char* const made = make(path);
  if (!exchangeWith.empty()) {
    renameat2(AT_FDCWD, exchangeWith.c_str(), AT_FDCWD, made, RENAME_EXCHANGE);
  }
  return made;
}

namespace {

TEST(Resolve, FollowsLinksAndNamesWhatIsNotThere) {
  const TemporaryDirectory temporary;
  const std::string base = fs::canonical(temporary.GetPath());
  fs::create_directories(base + "/a/b");
  fs::create_symlink("a/b", base + "/toDirectory");
  fs::create_symlink("toDirectory/file", base + "/toFile");
  fs::create_symlink(base + "/toFile", base + "/a/again");
  fs::create_symlink("round", base + "/round");
  const auto resolve = [&](const std::string& path) -> std::string {
    try {
      return Resolve(base + "/" + path).GetPath().substr(base.size());
    } catch (const FileError& error) {
      return error.what();
    }
  };
  EXPECT_EQ(resolve("toFile"), "it is a symbolic link to nothing");
  WriteFile(base + "/a/b/file", "");
  const std::pair<const char*, const char*> cases[] = {
      {"toFile", "/a/b/file"},
      {"a/../a/again", "/a/b/file"},
      {"toDirectory/new", "/a/b/new"},
      {"toDirectory", "/a/b"},
      {"toDirectory/", "/a/b"},
      {"toDirectory/..", "/a"},
      {"a/.", "/a"},
      {"new", "/new"},
      {"new/x", "the directory cannot be opened: No such file or directory"},
      {"a/b/file/x", "the directory cannot be opened: Not a directory"},
      {"round", "it has too many symbolic links"}};
  for (const auto& [path, resolved] : cases) {
    EXPECT_EQ(resolve(path), resolved) << path;
  }
  EXPECT_EQ(Resolve("/").GetPath(), "/");
  EXPECT_EQ(Resolve("x").GetPath(), fs::current_path() / "x");
  EXPECT_THROW(Resolve(""), FileError);
}

TEST(Resolve, FollowsNoLinkOfAnotherUserInASharedDirectory) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "another user can be played by root alone";
  }
  constexpr uid_t USER = 65534;
  constexpr uid_t OWNER = 65533;
  const TemporaryDirectory temporary;
  const std::string link = temporary.GetPath("link");
  WriteFile(temporary.GetPath("file"), "precious");
  fs::create_symlink("file", link);
  const auto isFollowed = [&](unsigned int permissions, uid_t linkOwner) {
    fs::permissions(temporary.GetPath(), fs::perms(permissions));
    EXPECT_EQ(lchown(link.c_str(), linkOwner, linkOwner), 0);
    EXPECT_EQ(chown(temporary.GetPath().c_str(), OWNER, OWNER), 0);
    try {
      return Resolve(link).name == "file";
    } catch (const FileError& error) {
      EXPECT_STREQ(error.what(),
                   "it is another user's symbolic link in a directory that all may write to");
      return false;
    }
  };
  EXPECT_FALSE(isFollowed(01777, USER));
  EXPECT_TRUE(isFollowed(01777, OWNER));
  EXPECT_TRUE(isFollowed(01777, 0));
  EXPECT_TRUE(isFollowed(01770, USER));
  EXPECT_TRUE(isFollowed(0777, USER));
}

TEST(LockedDirectory, GivesUpWaitingForAnother) {
  const TemporaryDirectory temporary;
  const Directory directory(Resolve(temporary.GetPath("x")).directory);
  const FileDescriptor other(open(temporary.GetPath().c_str(), O_RDONLY | O_DIRECTORY));
  ASSERT_EQ(flock(other.Get(), LOCK_EX), 0);
  EXPECT_THROW(LockedDirectory(directory, std::chrono::milliseconds(120)), FileError);
  ASSERT_EQ(flock(other.Get(), LOCK_UN), 0);
  EXPECT_NO_THROW(LockedDirectory(directory, std::chrono::milliseconds(0)));
}

// Where another user may have given the name, nothing is removed.
TEST(LockedDirectory, RemovesWhatAKilledProcessHasLeft) {
  constexpr uid_t USER = 65534;
  const std::tuple<uid_t, fs::perms, bool> cases[] = {{geteuid(), fs::perms(0700), true},
                                                      {geteuid(), fs::perms(0770), false},
                                                      {geteuid(), fs::perms(0702), false},
                                                      {geteuid(), fs::perms(01777), false},
                                                      {USER, fs::perms(0700), false}};
  for (const auto& [owner, permissions, isRemoved] : cases) {
    if (geteuid() != 0 && owner == USER) {
      continue;  // only root can act as another user
    }
    const TemporaryDirectory temporary;
    const std::string left = temporary.GetPath(".nvx-convert-abc123");
    const std::string others = temporary.GetPath(".nvx-convert-abc1234");
    fs::create_directories(left);
    WriteFile(left + "/topo_a.rrd", "half");
    WriteFile(others, "a user's");
    fs::permissions(temporary.GetPath(), permissions);
    ASSERT_EQ(chown(temporary.GetPath().c_str(), owner, owner), 0);
    const Directory directory(Resolve(temporary.GetPath("x")).directory);
    { const LockedDirectory lock(directory); }
    EXPECT_EQ(fs::exists(left), !isRemoved);
    EXPECT_EQ(ReadFile(left + "/topo_a.rrd"), isRemoved ? "" : "half");
    EXPECT_EQ(ReadFile(others), "a user's");
  }
}

TEST(LockedDirectory, MakesNothingInADirectoryThatIsNotItsOwn) {
  const TemporaryDirectory temporary;
  const std::string vault = temporary.GetPath("vault");
  fs::create_directory(vault);
  fs::permissions(vault, fs::perms::owner_all);
  WriteFile(vault + "/file", "precious");
  const Directory directory(Resolve(temporary.GetPath("x")).directory);
  {
    LockedDirectory lock(directory);
    exchangeWith = vault;
    EXPECT_THROW(lock.GetPrivateDirectory(), FileError);
    exchangeWith.clear();
  }
  EXPECT_TRUE(fs::is_empty(vault));  // the one that was made
  int fileCount = 0;
  for (const auto& entry : fs::recursive_directory_iterator(temporary.GetPath())) {
    fileCount += entry.is_regular_file() ? 1 : 0;
  }
  EXPECT_EQ(fileCount, 1);
}

TEST(ConversionPlan, OpensOneDirectoryOfADeepTreeAtATime) {
  const TemporaryDirectory temporary;
  std::string path = temporary.GetPath();
  for (int level = 0; level < 100; ++level) {
    path += "/d";
  }
  fs::create_directories(path);
  WriteFile(path + "/a.rrd", "");
  const ResourceLimit fewFiles(RLIMIT_NOFILE, 50);
  ConversionSummary summary(true);
  EXPECT_EQ(MakeConversionPlan({temporary.GetPath()}, summary).size(), 1);
  EXPECT_TRUE(summary.AreAllConverted());
}

TEST(FileReplacement, PutsNothingInPlaceOfAFileThatChanged) {
  const TemporaryDirectory temporary;
  const Directory directory(Resolve(temporary.GetPath("x")).directory);
  const std::string path = temporary.GetPath("a.rrd");
  WriteFile(path, "old");
  LockedDirectory lock(directory);
  const auto replaceAfter = [&](const auto& change) {
    const OpenedFile old(directory, "a.rrd");
    FileReplacement replacement(lock, "a.rrd");
    change();
    EXPECT_THROW(replacement.Replace(old), FileError);
  };
  replaceAfter([&] { WriteFile(path, "longer"); });
  replaceAfter([&] {
    WriteFile(temporary.GetPath("other"), "other");
    fs::rename(temporary.GetPath("other"), path);
  });
  replaceAfter([&] { fs::remove(path); });
  FileReplacement replacement(lock, "a.rrd");
  WriteFile(path, "made meanwhile");
  EXPECT_THROW(replacement.PutInPlace(), FileError);
  EXPECT_EQ(ReadFile(path), "made meanwhile");
}

// Some file systems have no hard links, others cannot tell whether a new name is free.
TEST(ConvertInPlace, LosesNoFileWhereCallsFail) {
  const std::map<std::string, int> cases[] = {{{"linkat", EPERM}},
                                              {{"linkat", EPERM}, {"renameat2", EINVAL}},
                                              {{"linkat", EIO}},
                                              {{"renameat", EIO}}};
  for (const auto& given : cases) {
    const TemporaryDirectory temporary;
    WriteFile(temporary.GetPath("a.rrd"), ReadLegacy("gauge"));
    faults = given;
    const bool isDone =
        ConvertInPlace({temporary.GetPath()}, {".old", false, {}}).AreAllConverted();
    faults.clear();
    EXPECT_EQ(isDone, given.count("linkat") > 0 && given.at("linkat") == EPERM);
    EXPECT_EQ(ReadFile(temporary.GetPath("a.rrd")) + ReadFile(temporary.GetPath("a.rrd.old")),
              (isDone ? ReadConverted("gauge") : "") + ReadLegacy("gauge"));
    EXPECT_EQ(std::distance(fs::directory_iterator(temporary.GetPath()), {}), isDone ? 2 : 1);
  }
}

TEST(FileReplacement, LeavesNothingWhenItIsInterrupted) {
  const TemporaryDirectory temporary;
  const Directory directory(Resolve(temporary.GetPath("x")).directory);
  {
    LockedDirectory lock(directory);
    FileReplacement replacement(lock, "a.rrd");
    const int status = RunInChild([&] {
      std::raise(SIGTERM);
      try {
        replacement.PutInPlace();
      } catch (const Interrupted& interrupted) {
        return interrupted.signal;
      }
      return 0;
    });
    EXPECT_EQ(status, SIGTERM);
  }
  EXPECT_TRUE(fs::is_empty(temporary.GetPath()));
}

// Root converts in a directory of another user. That user swaps the file for a link to somebody
// else's file, and the files that root makes there for links to a victim.
class Attack : public testing::Test {
 protected:
  static constexpr uid_t USER = 65534;

  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "another user can be played by root alone";
    }
    fs::permissions(outside.GetPath(), fs::perms::owner_all);
    WriteFile(secret, ReadLegacy("two-sources"));
    WriteFile(victim, "precious");
    fs::permissions(secret, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_EQ(chown(inside.GetPath().c_str(), USER, USER), 0);
    Restore();
    rounds = static_cast<int*>(
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    attacker = StartChild([this] { return Swap(); });
  }

  void TearDown() override {
    if (attacker > 0) {
      kill(attacker, SIGKILL);
      WaitFor(attacker);
    }
  }

  void Restore() const {
    const std::string fresh = outside.GetPath("fresh");
    WriteFile(fresh, ReadLegacy("gauge"));
    ASSERT_EQ(chown(fresh.c_str(), USER, USER), 0);
    fs::remove(inside.GetPath("swap"));
    fs::create_symlink(secret, inside.GetPath("swap"));
    fs::rename(fresh, inside.GetPath("a.rrd"));
  }

  int Swap() const {
    const std::string path = inside.GetPath("a.rrd");
    const std::string swap = inside.GetPath("swap");
    if (setgid(USER) != 0 || setuid(USER) != 0) {
      return 1;
    }
    while (true) {
      renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, swap.c_str(), RENAME_EXCHANGE);
      std::error_code error;
      for (const auto& entry : fs::directory_iterator(inside.GetPath(), error)) {
        if (IsTemporaryName(entry.path().filename())) {
          fs::rename(entry.path(), inside.GetPath("away"), error);
          fs::create_symlink(victim, entry.path(), error);
          fs::remove(entry.path(), error);
        }
      }
      ++*rounds;
    }
  }

  const TemporaryDirectory inside;
  const TemporaryDirectory outside;
  const std::string secret = outside.GetPath("secret.rrd");
  const std::string victim = outside.GetPath("victim");
  int* rounds = nullptr;
  pid_t attacker = 0;
};

TEST_F(Attack, NeitherOverwritesNorRevealsAForeignFile) {
  constexpr int CONVERSION_COUNT = 400;
  constexpr int ROUND_COUNT = 5000;
  for (int i = 0; i < CONVERSION_COUNT || *rounds < ROUND_COUNT; ++i) {
    ConvertInPlace({inside.GetPath()}, InPlaceOptions());
    ASSERT_EQ(ReadFile(victim), "precious");
    ASSERT_EQ(ReadFile(secret), ReadLegacy("two-sources"));
    for (const auto& entry : fs::recursive_directory_iterator(inside.GetPath())) {
      ASSERT_TRUE(!entry.is_regular_file() || entry.is_symlink() ||
                  ReadFile(entry.path()) != ReadConverted("two-sources"))
          << entry.path();
    }
    Restore();
  }
}

}  // namespace
