#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/legacy_file.h"
#include "support/run_program.h"
#include "support/temporary_directory.h"

namespace fs = std::filesystem;

namespace {

const std::string LEGACY = TEST_DATA "/legacy/";
constexpr const char* NAMES[] = {"gauge", "two-sources", "daily-many", "never-updated"};

std::string ReadLegacy(const std::string& name) { return ReadFile(LEGACY + name + ".legacy.rrd"); }
std::string ReadConverted(const std::string& name) {
  return ReadFile(LEGACY + name + ".converted.rrd");
}

struct stat Stat(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

// A directory to convert in.
class ConvertCommandTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name = "") const { return directory.GetPath(name); }

  void Write(const std::string& name, const std::string& content) {
    fs::create_directories(fs::path(Path(name)).parent_path());
    WriteFile(Path(name), content);
  }

  // Arguments that begin with "@" are names in the directory.
  ProgramResult Run(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {NVX_TIMESERIES, "convert"};
    for (const std::string& argument : arguments) {
      command.push_back(argument[0] == '@' ? Path(argument.substr(1)) : argument);
    }
    ProgramResult result = RunProgram(command);
    for (std::size_t at; (at = result.error.find(Path() + "/")) != std::string::npos;) {
      result.error.replace(at, Path().size() + 1, "@");
    }
    return result;
  }

  // Every file with all that a conversion must leave alone where it changes nothing.
  std::map<std::string, std::string> TakeSnapshot() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(Path())) {
      const struct stat status = Stat(entry.path());
      files[entry.path()] = std::to_string(status.st_ino) + ' ' + std::to_string(status.st_mode) +
                            ' ' + std::to_string(status.st_mtim.tv_nsec) + ' ' +
                            (entry.is_regular_file() ? ReadFile(entry.path()) : "");
    }
    return files;
  }

  std::size_t CountFiles() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(Path()), {}));
  }

  TemporaryDirectory directory;
};

TEST_F(ConvertCommandTest, MakesOrReplacesOneFile) {
  Write("old", "old");
  fs::permissions(Path("old"), fs::perms(0640));
  fs::create_symlink("old", Path("link"));
  const mode_t mask = umask(0027);
  for (const std::string name : NAMES) {
    for (const char* destination : {"@old", "@link", "@new"}) {
      const ProgramResult result = Run({LEGACY + name + ".legacy.rrd", destination});
      EXPECT_EQ(result.status, 0) << result.error;
      EXPECT_TRUE(ReadFile(Path(destination + 1)) == ReadConverted(name)) << destination << name;
    }
  }
  umask(mask);
  EXPECT_EQ(Stat(Path("old")).st_mode, mode_t{S_IFREG | 0640});
  EXPECT_EQ(Stat(Path("new")).st_mode, mode_t{S_IFREG | 0640});
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_EQ(CountFiles(), 3U);
}

TEST_F(ConvertCommandTest, TellsWhyOneFileIsNotConverted) {
  Write("legacy", ReadLegacy("gauge"));
  Write("converted", ReadConverted("gauge"));
  Write("text", "text");
  Write("old", "old");
  fs::create_hard_link(Path("legacy"), Path("hard"));
  fs::create_symlink("nothing", Path("dangling"));
  struct Case {
    std::vector<std::string> arguments;
    int status;
    std::string error;
  };
  const auto before = TakeSnapshot();
  for (const Case& wrong : std::vector<Case>{
           {{"@converted", "@old"},
            1,
            "@converted: is in the new layout already, nothing written (NothingToDo, 8)"},
           {{"@text", "@old"}, 1, "@text: Failed to read stat_head (InvalidArgument, 28)"},
           {{"@none", "@old"},
            1,
            "@none: Cannot open '@none': No such file or directory (CannotOpen, 42)"},
           {{"@legacy", "@legacy"},
            1,
            "@legacy: is the source itself; use --in-place (InvalidArgument, 28)"},
           {{"@legacy", "@hard"},
            1,
            "@hard: is the source itself; use --in-place (InvalidArgument, 28)"},
           {{"@legacy", "@none/x"},
            1,
            "@none/x: the directory cannot be opened: No such file or directory (IoError, 9)"},
           {{"@legacy", "/dev/full"}, 1, "/dev/full: it is no regular file (InvalidArgument, 28)"},
           {{"@legacy", "@dangling"},
            1,
            "@dangling: it is a symbolic link to nothing (InvalidArgument, 28)"},
           {{"@legacy"},
            2,
            "convert: takes SOURCE and DESTINATION, or --in-place and paths (see --help)"},
           {{"@legacy", "@x", "--dry-run"}, 2, "--dry-run requires --in-place (see --help)"},
           {{"@legacy", "--in-place", "--backup", "/x"},
            2,
            "--backup: not a suffix for backups: '/x' (see --help)"},
           {{"@legacy", "--in-place", "--backup", ".old.rrd"},
            2,
            "--backup: not a suffix for backups: '.old.rrd' (see --help)"},
           {{"--in-place"}, 2, "PATHS is required (see --help)"},
       }) {
    const ProgramResult result = Run(wrong.arguments);
    EXPECT_EQ(result.status, wrong.status) << wrong.error;
    EXPECT_EQ(result.error, "nvx-timeseries: " + wrong.error + "\n");
    EXPECT_EQ(result.output, "");
  }
  EXPECT_EQ(TakeSnapshot(), before);
}

TEST_F(ConvertCommandTest, LeavesNothingHalfMadeWhenTheDiskIsFull) {
  Write("legacy.rrd", ReadLegacy("never-updated"));
  Write("old", "old");
  const auto before = TakeSnapshot();
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit limit{100000, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  const ProgramResult one = Run({"@legacy.rrd", "@old"});
  const ProgramResult inPlace = Run({"--in-place", "@", "--backup", ".old"});
  setrlimit(RLIMIT_FSIZE, &old);
  EXPECT_EQ(one.status, 1);
  EXPECT_EQ(inPlace.status, 1);
  EXPECT_NE(inPlace.error.find("Cannot write in"), std::string::npos) << inPlace.error;
  EXPECT_EQ(TakeSnapshot(), before);
}

TEST_F(ConvertCommandTest, ConvertsATreeInPlace) {
  std::map<std::string, struct stat> before;
  unsigned int number = 0;
  for (const std::string name : NAMES) {
    for (const std::string folder : {"a/", "a/b/", ""}) {
      const std::string path = "tree/" + folder + name + ".rrd";
      Write(path, ReadLegacy(name));
      fs::permissions(Path(path), fs::perms(0600 + number++));
      const timespec times[] = {{1500000000, 1}, {1600000000 + number, 123456789}};
      utimensat(AT_FDCWD, Path(path).c_str(), times, 0);
      if (geteuid() == 0) {
        EXPECT_EQ(chown(Path(path).c_str(), 1000 + number, 2000 + number), 0);
      }
      before[path] = Stat(Path(path));
    }
  }
  Write("outside.rrd", ReadLegacy("gauge"));
  Write("linked", ReadLegacy("gauge"));
  Write("tree/done.rrd", ReadConverted("gauge"));
  Write("tree/text.rrd", "text");
  Write("tree/legacy.txt", ReadLegacy("gauge"));
  Write("tree/a/.nvx-convert-abc123", "left by a killed run");
  Write("tree/a/.nvx-convert-abc1234", "a user's file");
  fs::create_symlink("../outside.rrd", Path("tree/link.rrd"));
  fs::create_symlink("linked", Path("link"));

  const std::vector<std::string> arguments = {"--in-place", "@tree",    "@link",
                                              "@linked",    "@tree/a",  "@tree/done.rrd",
                                              "@none",      "--format", "json"};
  std::vector<std::string> dryArguments = arguments;
  dryArguments.push_back("--dry-run");
  const auto snapshot = TakeSnapshot();
  const ProgramResult dry = Run(dryArguments);
  EXPECT_EQ(TakeSnapshot(), snapshot);

  const ProgramResult result = Run(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "");
  const auto summary = nlohmann::json::parse(result.output);
  EXPECT_EQ(summary["converted"].size(), before.size() + 1);
  EXPECT_EQ(summary["alreadyConverted"], nlohmann::json{Path("tree/done.rrd")});
  EXPECT_EQ(summary["notConvertible"].dump(),
            "[{\"path\":\"" + Path("tree/text.rrd") +
                "\",\"reason\":\"Failed to read stat_head\",\"status\":28}]");
  EXPECT_EQ(summary["failed"].dump(), "[{\"path\":\"" + Path("none") +
                                          "\",\"reason\":\"No such file or directory\","
                                          "\"status\":42}]");
  auto drySummary = nlohmann::json::parse(dry.output);
  EXPECT_EQ(dry.status, 1);
  EXPECT_TRUE(drySummary["dryRun"]);
  drySummary["dryRun"] = false;
  EXPECT_EQ(drySummary, summary);

  for (const auto& [path, old] : before) {
    EXPECT_TRUE(ReadFile(Path(path)) == ReadConverted(fs::path(path).stem())) << path;
    const struct stat now = Stat(Path(path));
    EXPECT_EQ(now.st_mode, old.st_mode);
    EXPECT_EQ(now.st_uid, old.st_uid);
    EXPECT_EQ(now.st_gid, old.st_gid);
    EXPECT_EQ(now.st_mtim.tv_sec, old.st_mtim.tv_sec);
    EXPECT_EQ(now.st_mtim.tv_nsec, old.st_mtim.tv_nsec);
  }
  EXPECT_TRUE(ReadFile(Path("linked")) == ReadConverted("gauge"));
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_TRUE(ReadFile(Path("outside.rrd")) == ReadLegacy("gauge"));
  EXPECT_TRUE(ReadFile(Path("tree/legacy.txt")) == ReadLegacy("gauge"));
  EXPECT_FALSE(fs::exists(Path("tree/a/.nvx-convert-abc123")));
  EXPECT_TRUE(fs::exists(Path("tree/a/.nvx-convert-abc1234")));

  const ProgramResult again = Run({"--in-place", "@tree/a", "@link"});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.output,
            "converted          0\nalready converted  9\nnot convertible    0\n"
            "failed             0\n");
}

TEST_F(ConvertCommandTest, KeepsBackups) {
  Write("a.rrd", ReadLegacy("gauge"));
  Write("b.rrd", ReadLegacy("gauge"));
  Write("b.rrd.old", "precious");
  Write("killed.rrd", ReadLegacy("gauge"));
  fs::create_hard_link(Path("killed.rrd"), Path("killed.rrd.old"));
  const ProgramResult result = Run({"--in-place", "--backup", ".old", "@"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error,
            "nvx-timeseries: @b.rrd: its backup @b.rrd.old exists "
            "(InvalidArgument, 28)\n");
  EXPECT_TRUE(ReadFile(Path("a.rrd")) == ReadConverted("gauge"));
  EXPECT_TRUE(ReadFile(Path("a.rrd.old")) == ReadLegacy("gauge"));
  EXPECT_TRUE(ReadFile(Path("b.rrd")) == ReadLegacy("gauge"));
  EXPECT_EQ(ReadFile(Path("b.rrd.old")), "precious");
  EXPECT_TRUE(ReadFile(Path("killed.rrd")) == ReadConverted("gauge"));
  EXPECT_TRUE(ReadFile(Path("killed.rrd.old")) == ReadLegacy("gauge"));
  EXPECT_EQ(CountFiles(), 6U);
}

TEST_F(ConvertCommandTest, KeepsBackupsWithoutHardLinks) {
  Write("a.rrd", ReadLegacy("gauge"));
  fs::permissions(Path("a.rrd"), fs::perms(0640));
  const struct stat before = Stat(Path("a.rrd"));
  const ProgramResult result =
      RunProgram({NVX_TIMESERIES, "convert", "--in-place", "--backup=.old", Path()}, "",
                 {"LD_PRELOAD=" NO_HARD_LINKS, "ASAN_OPTIONS=verify_asan_link_order=0"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_TRUE(ReadFile(Path("a.rrd")) == ReadConverted("gauge"));
  EXPECT_TRUE(ReadFile(Path("a.rrd.old")) == ReadLegacy("gauge"));
  const struct stat backup = Stat(Path("a.rrd.old"));
  EXPECT_EQ(backup.st_mode, before.st_mode);
  EXPECT_EQ(backup.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
  EXPECT_NE(backup.st_ino, before.st_ino);
  EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(ConvertCommandTest, LeavesWhatItMayNotReplace) {
  Write("linked/a.rrd", ReadLegacy("gauge"));
  fs::create_hard_link(Path("linked/a.rrd"), Path("alias"));
  Write("protected/file.rrd", ReadLegacy("gauge"));
  fs::permissions(Path("protected/file.rrd"), fs::perms(0444));
  Write("sealed/file.rrd", ReadLegacy("gauge"));
  fs::permissions(Path("sealed"), fs::perms(0555));
  ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
  const auto before = TakeSnapshot();
  // Root may do anything unless it drops that right.
  std::vector<std::string> command = {NVX_TIMESERIES, "convert",  "--in-place", Path(),
                                      Path("fifo"),   "--format", "json"};
  if (geteuid() == 0) {
    const std::vector<std::string> drop = {"setpriv", "--bounding-set=-dac_override"};
    command.insert(command.begin(), drop.begin(), drop.end());
  }
  for (const char* mode : {"--dry-run", "--in-place"}) {
    command.back() = "json";
    command.push_back(mode);
    const ProgramResult result = RunProgram(command);
    command.pop_back();
    ASSERT_EQ(result.status, 1) << result.error;
    std::map<std::string, std::string> reasons;
    const auto summary = nlohmann::json::parse(result.output);
    for (const char* list : {"notConvertible", "failed"}) {
      for (const auto& problem : summary[list]) {
        reasons[fs::relative(problem["path"].get<std::string>(), Path())] = problem["reason"];
      }
    }
    EXPECT_EQ(
        reasons,
        (std::map<std::string, std::string>{
            {"fifo", "is no regular file"},
            {"linked/a.rrd", "it has another name (hard link), which would keep the old file"},
            {"protected/file.rrd", "it is not writable: Permission denied"},
            {"sealed/file.rrd", "its directory is not writable: Permission denied"}}));
    EXPECT_EQ(TakeSnapshot(), before);
  }
  fs::permissions(Path("sealed"), fs::perms(0755));
}

TEST_F(ConvertCommandTest, ShowsItsProgressOnATerminal) {
  Write("a.rrd", ReadLegacy("gauge"));
  const ProgramResult result =
      RunProgram({"script", "-qec", NVX_TIMESERIES " convert --in-place " + Path(), "/dev/null"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("] 100 % 1/1 files\r\x1b[K"), std::string::npos) << result.output;
}

// A tree of small and large files whose runs are killed.
class KilledConversionTest : public ConvertCommandTest {
 protected:
  void MakeTree() {
    fs::remove_all(Path("tree"));
    for (std::size_t i = 0; i < FILE_COUNT; ++i) {
      Write(GetName(i), ReadLegacy(NAMES[i % 4]));
    }
  }

  static std::string GetName(std::size_t i) {
    return "tree/" + std::to_string(i % 3) + "/" + std::to_string(i) + ".rrd";
  }

  pid_t Start() {
    const std::string tree = Path("tree");
    const pid_t child = fork();
    if (child == 0) {
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, STDOUT_FILENO);
      execl(NVX_TIMESERIES, NVX_TIMESERIES, "convert", "--in-place", "--backup", ".old",
            tree.c_str(), nullptr);
      _exit(127);
    }
    return child;
  }

  // Every path must be one of its two forms; returns how many are old.
  std::size_t CheckPaths() {
    std::size_t oldCount = 0;
    for (std::size_t i = 0; i < FILE_COUNT; ++i) {
      const std::string path = Path(GetName(i));
      const std::string name = NAMES[i % 4];
      const bool isOld = ReadFile(path) == ReadLegacy(name);
      EXPECT_TRUE(isOld || ReadFile(path) == ReadConverted(name)) << path;
      EXPECT_TRUE(isOld || ReadFile(path + ".old") == ReadLegacy(name)) << path;
      oldCount += isOld ? 1 : 0;
    }
    return oldCount;
  }

  std::size_t CountTree() const {
    return static_cast<std::size_t>(
        std::distance(fs::recursive_directory_iterator(Path("tree")), {}));
  }

  static constexpr std::size_t FILE_COUNT = 24;
};

TEST_F(KilledConversionTest, LeavesEveryPathOldOrNewAndTheNextRunCleansUp) {
  using Clock = std::chrono::steady_clock;
  MakeTree();
  const auto start = Clock::now();
  ASSERT_EQ(waitpid(Start(), nullptr, 0) > 0, true);
  const auto duration = Clock::now() - start;
  ASSERT_EQ(CheckPaths(), 0U);

  constexpr int KILL_COUNT = 40;
  int interruptedCount = 0;
  for (int i = 0; i < KILL_COUNT; ++i) {
    MakeTree();
    const pid_t child = Start();
    std::this_thread::sleep_for(duration * i / KILL_COUNT);
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    const std::size_t oldCount = CheckPaths();
    interruptedCount += oldCount > 0 && oldCount < FILE_COUNT ? 1 : 0;

    int status = -1;
    const pid_t next = Start();
    ASSERT_EQ(waitpid(next, &status, 0), next);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(CheckPaths(), 0U);
    EXPECT_EQ(CountTree(), 3 + 2 * FILE_COUNT);
  }
  EXPECT_GT(interruptedCount, 0);
}

}  // namespace
