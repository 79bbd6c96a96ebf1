// Commands that change files are killed before each of their changes. Every path is then wholly old
// or wholly new, and the same command, given again, completes the work. (A kill after a change
// leaves the same as one before the next change.) After a loss of power every path is old or new,
// too, whichever unsynced changes have reached the disk.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "support/legacy_file.h"
#include "support/run_program.h"
#include "support/temporary_directory.h"
#include "timeseries/host.h"
#include "timeseries/rrd_client.h"

namespace fs = std::filesystem;
using namespace nvx::TimeSeriesDatabase;

namespace {

struct Command {
  const char* name;
  std::vector<std::string> arguments;
  std::string standIns;  // loaded in addition to the library that ends the program
};

const Command COMMANDS[] = {
    {"ConvertInPlace", {"convert", "--in-place", "--backup", ".old", "."}, ""},
    {"ConvertInPlaceWithoutHardLinks",
     {"convert", "--in-place", "--backup", ".old", "."},
     ":" NO_HARD_LINKS},
    {"ConvertToAFile", {"convert", "gauge.rrd", "two-sources.rrd"}, ""},
    {"Create",
     {"create", "topo:new", "--step", "60", "--rows", "9", "--start", "1000000000", "--force"},
     ""},
    {"Replace",
     {"create", "topo:m", "--step", "60", "--rows", "9", "--start", "1000000000", "--force"},
     ""},
    {"Migrate", {"migrate", "topo:m", "--step", "60", "--rows", "9"}, ""},
    {"Export", {"export", "topo:m", "--format", "csv", "--output", "out"}, ""},
};

// The files by path, each with everything that must not be mixed: permissions, whether it has the
// old files' time, and content.
using Tree = std::map<std::string, std::string>;

const fs::file_time_type OLD_TIME = fs::file_time_type::clock::now() - std::chrono::hours(1);

// Adds a file that cannot be converted.
void MakeDataSource() {
  const RrdClient client;
  ASSERT_EQ(client.Create("topo_m.rrd", 60, 1000000000, 0, 9, 5), StatusCode::Success);
  ASSERT_EQ(client.Update("topo_m.rrd", {{1000000020, 1}, {1000000080, 2}}), StatusCode::Success);
}

void MakeTree(bool hasDataSource) {
  for (const auto& entry : fs::directory_iterator(".")) {
    fs::remove_all(entry);
  }
  fs::create_directory("a");
  for (const std::string name : LEGACY_NAMES) {
    WriteFile((name == "gauge" ? "" : "a/") + name + ".rrd", ReadLegacy(name));
  }
  WriteFile("two-sources.rrd", ReadConverted("two-sources"));
  if (hasDataSource) {
    MakeDataSource();
  }
  fs::create_directory("a/.nvx-convert-abc123");
  WriteFile("a/.nvx-convert-abc123/gauge.rrd", "left by another run");
  for (const auto& entry : fs::recursive_directory_iterator(".")) {
    if (entry.is_regular_file()) {
      fs::permissions(entry, fs::perms(0604));
      fs::last_write_time(entry, OLD_TIME);
    }
  }
}

// What a file holds. The RRD library begins with a row at random, so those of its own are told
// apart by what is read from them.
std::string ReadContent(const std::string& path) {
  const RrdClient client;
  Rrd::FileDescription file;
  Rrd::FetchResult samples;
  if (path.find("topo_") == std::string::npos ||
      client.Describe(path, file) != StatusCode::Success ||
      client.Fetch(path, file.archives[0].firstTime, file.lastUpdate, samples) !=
          StatusCode::Success) {
    return ReadFile(path);
  }
  std::string content = std::to_string(file.lastUpdate);
  for (unsigned int i = 0; i < samples.GetSampleCount(); ++i) {
    content += ' ' + std::to_string(samples.GetData()[i]);
  }
  return content;
}

std::string Show(const std::string& path) {
  return std::to_string(static_cast<int>(fs::status(path).permissions())) +
         (fs::last_write_time(path) == OLD_TIME ? " old " : " new ") + ReadContent(path);
}

Tree ReadTree() {
  Tree tree;
  for (const auto& entry : fs::recursive_directory_iterator(".")) {
    if (entry.is_regular_file()) {
      tree[entry.path()] = Show(entry.path());
    }
  }
  return tree;
}

bool IsTemporary(const std::string& path) {
  return path.find("/.nvx-convert-") != std::string::npos;
}

bool Has(const Tree& tree, const Tree::value_type& file) {
  const auto found = tree.find(file.first);
  return found != tree.end() && found->second == file.second;
}

void ExpectOldOrNew(const Tree& before, const Tree& now, const Tree& after) {
  for (const auto& file : now) {
    EXPECT_TRUE(IsTemporary(file.first) || Has(before, file) || Has(after, file)) << file.first;
  }
  for (const auto& [path, content] : before) {
    EXPECT_TRUE(now.count(path) == 1 || after.count(path) == 0) << path << " is lost";
    const auto backup = after.find(path + ".old");
    EXPECT_TRUE(Has(now, {path, content}) || backup == after.end() || Has(now, *backup))
        << path << " has no backup";
  }
}

// The content of a disk after a loss of power: files as they were last synced, the synced names of
// each directory, and any part of the later changes to names.
class Disk {
 public:
  Disk() {
    for (const auto& [path, content] : ReadTree()) {
      struct stat status {};
      stat(path.c_str(), &status);
      names[path] = Identify(std::to_string(status.st_ino));
      files[names[path]] = content;
    }
  }

  // Takes a line of the record.
  void Apply(const std::string& line, const std::string& record) {
    std::istringstream words(line);
    std::string kind;
    std::string file;
    std::string path;
    words >> kind >> file >> path;
    if (kind == "new") {
      ++generations[file];
      files[Identify(file)] = "not synced";
    } else if (kind == "file") {
      files[Identify(file)] = Show(record + "/" + path);
    } else if (kind == "directory") {
      Sync(fs::relative(file));
    } else if (!IsTemporary(path)) {
      changes.push_back({"./" + fs::relative(path).string(), Identify(file)});
    }
  }

  std::size_t CountChanges() const { return changes.size(); }

  // The tree with the changes whose bits are set.
  Tree Make(unsigned long subset) const {
    std::map<std::string, std::string> held = names;
    for (std::size_t i = 0; i < changes.size(); ++i) {
      if ((subset >> i & 1) != 0) {
        held[changes[i].path] = changes[i].file;
      }
    }
    Tree tree;
    for (const auto& [path, file] : held) {
      if (file != REMOVED) {
        tree[path] = files.at(file);
      }
    }
    return tree;
  }

 private:
  static constexpr char REMOVED[] = "0/0";

  struct Change {
    std::string path;
    std::string file;
  };

  // The number of a removed file is used again.
  std::string Identify(const std::string& file) {
    return file + "/" + std::to_string(generations[file]);
  }

  void Sync(const fs::path& directory) {
    std::vector<Change> left;
    for (const Change& change : changes) {
      if (fs::path(change.path).parent_path().lexically_normal() == directory) {
        names[change.path] = change.file;
      } else {
        left.push_back(change);
      }
    }
    changes = left;
  }

  std::map<std::string, std::string> names;  // and the files that they name
  std::map<std::string, std::string> files;  // and what they hold
  std::map<std::string, int> generations;
  std::vector<Change> changes;
};

class Crash : public testing::TestWithParam<Command> {
 protected:
  Crash() {
    nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
    fs::current_path(directory.GetPath());
  }

  static int Run(const std::vector<std::string>& variables = {}) {
    std::vector<std::string> command = {NVX_TIMESERIES};
    command.insert(command.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    return RunProgram(command, variables).status;
  }

  const TemporaryDirectory directory;
};

TEST_P(Crash, LeavesEveryPathOldOrNewAndTheNextRunCompletes) {
  if (IS_SANITIZED != 0) {
    GTEST_SKIP() << "a program with a sanitizer cannot be given other system calls";
  }
  const bool isConversion = GetParam().arguments.front() == std::string("convert");
  MakeTree(!isConversion);
  const Tree before = ReadTree();
  ASSERT_EQ(Run(), 0);
  const Tree after = ReadTree();
  ASSERT_NE(before, after);
  int killCount = 0;
  const auto isKilled = [&] {
    MakeTree(!isConversion);
    const int status = Run({"LD_PRELOAD=" END_AT_CHANGE + GetParam().standIns,
                            "NVX_END_AT=" + std::to_string(killCount + 1)});
    EXPECT_TRUE(status == 0 || status == 128 + SIGKILL) << status;
    return status != 0;
  };
  while (!HasFailure() && isKilled()) {
    SCOPED_TRACE("ended at change " + std::to_string(++killCount));
    ExpectOldOrNew(before, ReadTree(), after);
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(ReadTree() == after);
  }
  EXPECT_TRUE(ReadTree() == after);
  EXPECT_GT(killCount, 5);
}

// An import of several batches that is killed before any of its changes has stored whole batches,
// and continues without loss.
class KilledImport : public testing::TestWithParam<const char*> {};

TEST_P(KilledImport, StoresWholeBatchesAndGoesOn) {
  if (IS_SANITIZED != 0) {
    GTEST_SKIP() << "a program with a sanitizer cannot be given other system calls";
  }
  constexpr int BATCH_SIZE = 10000;
  constexpr int COUNT = 2 * BATCH_SIZE + 5;
  constexpr long long START = 1000000020;
  const TemporaryDirectory directory;
  fs::current_path(directory.GetPath());
  nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
  std::string lines;
  for (int i = 0; i < COUNT; ++i) {
    lines += std::to_string(START + i * 60) + "," + std::to_string(i) + "\n";
  }
  WriteFile("samples.csv", lines);
  const RrdClient client;
  const auto import = [](const std::vector<std::string>& variables) {
    return RunProgram({NVX_TIMESERIES, "update", "topo:m", "--csv", "samples.csv", "--skip-past",
                       GetParam()},
                      variables)
        .status;
  };
  const auto countStored = [&client] {
    long long last = 0;
    Rrd::FetchResult samples;
    EXPECT_EQ(client.GetLastTimestamp("topo_m.rrd", last), StatusCode::Success);
    EXPECT_EQ(client.Fetch("topo_m.rrd", START, START + COUNT * 60, samples), StatusCode::Success);
    int count = 0;
    while (samples.GetData()[count] == count) {
      ++count;
    }
    EXPECT_EQ(last, START + (count - 1) * 60);
    return count;
  };
  int killCount = 0;
  while (!HasFailure()) {
    SCOPED_TRACE("ended at change " + std::to_string(killCount + 1));
    ASSERT_EQ(client.Create("topo_m.rrd", 60, START - 60, 0, COUNT, COUNT), StatusCode::Success);
    if (import({"LD_PRELOAD=" END_AT_CHANGE, "NVX_END_AT=" + std::to_string(killCount + 1)}) == 0) {
      break;
    }
    ++killCount;
    const int stored = countStored();
    EXPECT_TRUE(stored % BATCH_SIZE == 0 || stored == COUNT) << stored;
    EXPECT_EQ(import({}), 0);
    EXPECT_EQ(countStored(), COUNT);
  }
  EXPECT_GT(killCount, 10);
}

INSTANTIATE_TEST_SUITE_P(Batches, KilledImport, testing::Values("--force", "--sync"));

// What is made of a file with an interrupted update is made of the file as it was before.
TEST(KilledUpdate, IsUndoneBeforeTheFileIsExportedOrConverted) {
  if (IS_SANITIZED != 0) {
    GTEST_SKIP() << "a program with a sanitizer cannot be given other system calls";
  }
  const char* const layout = sizeof(long) == 4 ? "64bit" : "arm32-time64";
  const TemporaryDirectory directory;
  fs::current_path(directory.GetPath());
  MakeDataSource();
  const std::string before = ReadFile("topo_m.rrd");
  const std::string journal = "topo_m.rrd-journal";
  const auto interrupt = [&] {
    for (int i = 1; ReadFile("topo_m.rrd") == before && i < 10; ++i) {
      (void)RunProgram({NVX_TIMESERIES, "update", "topo:m", "1000000140:3"},
                       {"LD_PRELOAD=" END_AT_CHANGE, "NVX_END_AT=" + std::to_string(i)});
    }
    ASSERT_TRUE(fs::exists(journal));
  };
  const auto convert = [&](const std::string& source, const std::string& converted) {
    EXPECT_EQ(RunProgram({NVX_TIMESERIES, "convert", "--to", layout, source, converted}).status, 0);
    return ReadFile(converted);
  };
  fs::copy_file("topo_m.rrd", "before");
  const std::string expected = convert("before", "expected");
  interrupt();
  EXPECT_EQ(RunProgram({NVX_TIMESERIES, "export", "topo:m", "--format", "csv"}).status, 0);
  EXPECT_TRUE(ReadFile("topo_m.rrd") == before);

  interrupt();
  EXPECT_TRUE(convert("topo_m.rrd", "converted") == expected);
  EXPECT_TRUE(ReadFile("topo_m.rrd") == before);

  interrupt();
  const std::vector<std::string> inPlace = {NVX_TIMESERIES, "convert", "--in-place",
                                            "--to",         layout,    "topo_m.rrd"};
  EXPECT_EQ(RunProgram(inPlace).status, 0);
  EXPECT_TRUE(ReadFile("topo_m.rrd") == expected);

  WriteFile("topo_m.rrd", before);
  interrupt();
  fs::resize_file("topo_m.rrd", before.size() - 8);
  const auto recovery = RunProgram({NVX_TIMESERIES, "recover", "topo:m", "--in-place"});
  EXPECT_EQ(recovery.status, 0);
  EXPECT_NE(recovery.error.find("warning: its last update was interrupted"), std::string::npos);
  EXPECT_FALSE(fs::exists(journal));
}

TEST_P(Crash, LeavesEveryPathOldOrNewWhenThePowerFails) {
  if (IS_SANITIZED != 0) {
    GTEST_SKIP() << "a program with a sanitizer cannot be given other system calls";
  }
  const TemporaryDirectory record;
  MakeTree(GetParam().arguments.front() != std::string("convert"));
  const Tree before = ReadTree();
  Disk disk;
  ASSERT_EQ(
      Run({"LD_PRELOAD=" END_AT_CHANGE + GetParam().standIns, "NVX_RECORD=" + record.GetPath()}),
      0);
  const Tree after = ReadTree();
  std::set<Tree> states;
  std::ifstream log(record.GetPath("log"));
  for (std::string line; std::getline(log, line);) {
    disk.Apply(line, record.GetPath());
    ASSERT_LE(disk.CountChanges(), 16);
    for (unsigned long subset = 0; subset < 1UL << disk.CountChanges(); ++subset) {
      states.insert(disk.Make(subset));
    }
  }
  for (const Tree& state : states) {
    ExpectOldOrNew(before, state, after);
  }
  EXPECT_GT(states.size(), 1);
  ExpectOldOrNew(after, disk.Make(0), after);  // after the end, everything is on the disk
}

INSTANTIATE_TEST_SUITE_P(Commands, Crash, testing::ValuesIn(COMMANDS),
                         [](const auto& command) { return command.param.name; });

}  // namespace
