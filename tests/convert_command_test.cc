#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/file_size_limit.h"
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

// Mode, owner and modification time.
std::string ReadAttributes(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  std::ostringstream text;
  text << std::oct << status.st_mode << std::dec << ' ' << status.st_uid << ':' << status.st_gid
       << ' ' << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec;
  return text.str();
}

// A directory to convert in.
class ConvertCommandTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name = "") const { return directory.GetPath(name); }

  void Write(const std::string& name, const std::string& content) {
    fs::create_directories(fs::path(Path(name)).parent_path());
    WriteFile(Path(name), content);
  }

  // Runs the command, under another if need be, with arguments in which "@" stands for the
  // directory, there and in what it says.
  ProgramResult Run(const std::string& arguments, std::vector<std::string> command = {}) {
    command.insert(command.end(), {NVX_TIMESERIES, "convert"});
    std::istringstream words(arguments);
    for (std::string word; words >> word;) {
      command.push_back(word[0] == '@' ? Path() + "/" + word.substr(1) : word);
    }
    ProgramResult result = RunProgram(command);
    for (std::string* text : {&result.output, &result.error}) {
      for (std::size_t at; (at = text->find(Path() + "/")) != std::string::npos;) {
        text->replace(at, Path().size() + 1, "@");
      }
    }
    return result;
  }

  // The files of the directory by name: "old" and "new" are the two forms of a gauge, and the
  // others stand for themselves.
  std::map<std::string, std::string> TakeSnapshot(bool withAttributes = true) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(Path())) {
      std::string& file = files[entry.path().lexically_relative(Path())];
      const std::string content = entry.is_regular_file() ? ReadFile(entry.path()) : "";
      file = content == ReadLegacy("gauge")      ? "old"
             : content == ReadConverted("gauge") ? "new"
                                                 : content;
      file += withAttributes ? ReadAttributes(entry.path()) : "";
    }
    return files;
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
      const ProgramResult result = Run(LEGACY + name + ".legacy.rrd " + destination);
      EXPECT_EQ(result.status, 0) << result.error;
      EXPECT_TRUE(ReadFile(Path(destination + 1)) == ReadConverted(name)) << destination << name;
    }
  }
  umask(mask);
  EXPECT_EQ(ReadAttributes(Path("old")).substr(0, 6), "100640");
  EXPECT_EQ(ReadAttributes(Path("new")).substr(0, 6), "100640");
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_EQ(TakeSnapshot().size(), 3U);
}

TEST_F(ConvertCommandTest, TellsWhyOneFileIsNotConverted) {
  Write("legacy", ReadLegacy("gauge"));
  Write("new", ReadConverted("gauge"));
  Write("text", "text");
  Write("old", "old");
  fs::create_hard_link(Path("legacy"), Path("hard"));
  fs::create_symlink("nothing", Path("dangling"));
  const std::string isInvalid = " (InvalidArgument, 28)";
  const std::vector<std::pair<std::string, std::string>> failures = {
      {"@new @old", "@new: is in the new layout already, nothing written (NothingToDo, 8)"},
      {"@text @old", "@text: Failed to read stat_head" + isInvalid},
      {"@none @old", "@none: Cannot open '@none': No such file or directory (CannotOpen, 42)"},
      {"@legacy @legacy", "@legacy: is the source itself; use --in-place" + isInvalid},
      {"@legacy @hard", "@hard: is the source itself; use --in-place" + isInvalid},
      {"@legacy @none/x",
       "@none/x: the directory cannot be opened: No such file or directory (IoError, 9)"},
      {"@legacy /dev/full", "/dev/full: it is no regular file" + isInvalid},
      {"@legacy @dangling", "@dangling: it is a symbolic link to nothing" + isInvalid}};
  const std::vector<std::pair<std::string, std::string>> wrongUses = {
      {"@legacy", "convert: takes SOURCE and DESTINATION, or --in-place and paths"},
      {"--in-place", "PATHS is required"},
      {"@legacy @x --dry-run", "--dry-run requires --in-place"},
      {"@legacy --in-place --backup /x", "--backup: not a suffix for backups: '/x'"},
      {"@legacy --in-place --backup x.rrd", "--backup: not a suffix for backups: 'x.rrd'"}};
  const auto before = TakeSnapshot();
  for (const auto& [arguments, error] : failures) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_EQ(result.error, "nvx-timeseries: " + error + "\n");
  }
  for (const auto& [arguments, error] : wrongUses) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.error, "nvx-timeseries: " + error + " (see --help)\n");
  }
  EXPECT_EQ(TakeSnapshot(), before);
}

TEST_F(ConvertCommandTest, LeavesNothingHalfMadeWhenTheDiskIsFull) {
  Write("legacy.rrd", ReadLegacy("never-updated"));
  Write("old", "old");
  const auto before = TakeSnapshot();
  {
    const FileSizeLimit limit(100000);
    EXPECT_EQ(Run("@legacy.rrd @old").status, 1);
    EXPECT_EQ(Run("--in-place @ --backup .old").status, 1);
  }
  EXPECT_EQ(TakeSnapshot(), before);
}

TEST_F(ConvertCommandTest, ConvertsATreeInPlace) {
  std::map<std::string, std::string> before;
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
      before[path] = ReadAttributes(Path(path));
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

  const std::string arguments = "--in-place @tree @link @linked @tree/a @none --format json";
  const auto snapshot = TakeSnapshot();
  const ProgramResult dry = Run(arguments + " --dry-run");
  EXPECT_EQ(TakeSnapshot(), snapshot);
  EXPECT_EQ(dry.status, 1);

  const ProgramResult result = Run(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "");
  auto summary = nlohmann::json::parse(result.output);
  EXPECT_EQ(summary["converted"].size(), before.size() + 1);
  EXPECT_EQ(summary["alreadyConverted"], nlohmann::json{"@tree/done.rrd"});
  EXPECT_EQ(summary["notConvertible"], nlohmann::json::parse(R"([{
      "path": "@tree/text.rrd", "reason": "Failed to read stat_head", "status": 28}])"));
  EXPECT_EQ(summary["failed"], nlohmann::json::parse(R"([{
      "path": "@none", "reason": "No such file or directory", "status": 42}])"));
  EXPECT_EQ(summary["dryRun"], false);
  summary["dryRun"] = true;
  EXPECT_EQ(nlohmann::json::parse(dry.output), summary);

  for (const auto& [path, attributes] : before) {
    EXPECT_TRUE(ReadFile(Path(path)) == ReadConverted(fs::path(path).stem())) << path;
    EXPECT_EQ(ReadAttributes(Path(path)), attributes);
  }
  EXPECT_TRUE(ReadFile(Path("linked")) == ReadConverted("gauge"));
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_TRUE(ReadFile(Path("outside.rrd")) == ReadLegacy("gauge"));
  EXPECT_TRUE(ReadFile(Path("tree/legacy.txt")) == ReadLegacy("gauge"));
  EXPECT_FALSE(fs::exists(Path("tree/a/.nvx-convert-abc123")));
  EXPECT_TRUE(fs::exists(Path("tree/a/.nvx-convert-abc1234")));

  const ProgramResult again = Run("--in-place @tree/a @link");
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
  const ProgramResult result = Run("--in-place --backup .old @");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error,
            "nvx-timeseries: @b.rrd: its backup @b.rrd.old exists (InvalidArgument, 28)\n");
  EXPECT_EQ(TakeSnapshot(false), (std::map<std::string, std::string>{{"a.rrd", "new"},
                                                                     {"a.rrd.old", "old"},
                                                                     {"b.rrd", "old"},
                                                                     {"b.rrd.old", "precious"},
                                                                     {"killed.rrd", "new"},
                                                                     {"killed.rrd.old", "old"}}));
}

TEST_F(ConvertCommandTest, KeepsBackupsWithoutHardLinks) {
  Write("a.rrd", ReadLegacy("gauge"));
  const auto before = TakeSnapshot();
  const ProgramResult result =
      Run("--in-place --backup .old @",
          {"env", "LD_PRELOAD=" NO_HARD_LINKS, "ASAN_OPTIONS=verify_asan_link_order=0"});
  EXPECT_EQ(result.status, 0) << result.error;
  auto after = TakeSnapshot();
  EXPECT_EQ(after.size(), 2U);
  EXPECT_EQ(after["a.rrd.old"], before.at("a.rrd"));
  EXPECT_EQ(after["a.rrd"].substr(0, 3), "new");
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
  for (const std::string mode : {" --dry-run", ""}) {
    std::vector<std::string> unprivileged;
    if (geteuid() == 0) {
      unprivileged = {"setpriv", "--bounding-set=-dac_override"};
    }
    const ProgramResult result = Run("--in-place @ @fifo" + mode, unprivileged);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "nvx-timeseries: @fifo: is no regular file (InvalidArgument, 28)\n"
              "nvx-timeseries: @linked/a.rrd: it has another name (hard link), which would keep "
              "the old file (InvalidArgument, 28)\n"
              "nvx-timeseries: @protected/file.rrd: it is not writable: Permission denied "
              "(IoError, 9)\n"
              "nvx-timeseries: @sealed/file.rrd: its directory is not writable: Permission denied "
              "(IoError, 9)\n");
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

TEST_F(ConvertCommandTest, LeavesEveryPathOldOrNewWhenKilledAndTheNextRunCleansUp) {
  constexpr int FILE_COUNT = 24;
  constexpr int KILL_COUNT = 25;
  const std::string arguments = "--in-place --backup .old @";
  const auto getName = [](int i) {
    return std::to_string(i % 3) + "/" + std::to_string(i) + ".rrd";
  };
  const auto makeTree = [&] {
    for (int i = 0; i < FILE_COUNT; ++i) {
      Write(getName(i), ReadLegacy(NAMES[i % 4]));
      fs::remove(Path(getName(i) + ".old"));
    }
  };
  const auto checkTree = [&] {
    int oldCount = 0;
    for (int i = 0; i < FILE_COUNT; ++i) {
      const std::string path = Path(getName(i));
      const bool isOld = ReadFile(path) == ReadLegacy(NAMES[i % 4]);
      EXPECT_TRUE(isOld || ReadFile(path) == ReadConverted(NAMES[i % 4])) << path;
      EXPECT_TRUE(isOld || ReadFile(path + ".old") == ReadLegacy(NAMES[i % 4])) << path;
      oldCount += isOld ? 1 : 0;
    }
    return oldCount;
  };

  makeTree();
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(Run(arguments).status, 0);
  const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
  int interruptedCount = 0;
  for (int i = 1; i <= KILL_COUNT; ++i) {
    makeTree();
    Run(arguments, {"timeout", "-s", "KILL", std::to_string(duration.count() * i / KILL_COUNT)});
    const int oldCount = checkTree();
    interruptedCount += oldCount > 0 && oldCount < FILE_COUNT ? 1 : 0;
    EXPECT_EQ(Run(arguments).status, 0);
    EXPECT_EQ(checkTree(), 0);
    EXPECT_EQ(TakeSnapshot(false).size(), 3U + 2 * FILE_COUNT);
  }
  EXPECT_GT(interruptedCount, 0);
}

}  // namespace
