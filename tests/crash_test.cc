// Commands that change files are killed before each of their changes. Every path is then wholly old
// or wholly new, and the same command, given again, completes the work. (A kill after a change
// leaves the same as one before the next change.) After a loss of power every path is old or new,
// too, whichever unsynced changes have reached the disk.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "support/legacy_file.h"
#include "support/shell.h"
#include "support/temporary_directory.h"
#include "timeseries/host.h"
#include "timeseries/rrd_client.h"

namespace fs = std::filesystem;
using namespace nvx::TimeSeriesDatabase;

namespace {

struct Command {
  const char* name;
  std::string words;
  std::string standIns;  // loaded in addition to the library that ends the program
};

constexpr char IN_PLACE[] = "convert --in-place --backup .old .";

const Command COMMANDS[] = {
    {"ConvertInPlace", IN_PLACE, ""},
    {"ConvertInPlaceWithoutHardLinks", IN_PLACE, ":" NO_HARD_LINKS},
    {"ConvertToAFile", "convert gauge.rrd two-sources.rrd", ""},
    {"Create", "create topo:new --step 60 --rows 9 --start 1000000000 --force", ""},
    {"Replace", "create topo:m --step 60 --rows 9 --start 1000000000 --force", ""},
    {"Migrate", "migrate topo:m --step 60 --rows 9", ""},
    {"Export", "export topo:m --format csv --output out", ""},
};

// The files by path, each with everything that must not be mixed: permissions, whether it has the
// old files' time, and content.
using Tree = std::map<std::string, std::string>;

const fs::file_time_type OLD_TIME = fs::file_time_type::clock::now() - std::chrono::hours(1);

void MakeTree(bool hasDataSource) {
  for (const auto& entry : fs::directory_iterator(".")) {
    fs::remove_all(entry);
  }
  fs::create_directory("a");
  for (const std::string name : LEGACY_NAMES) {
    WriteFile((name == "gauge" ? "" : "a/") + name + ".rrd", ReadLegacy(name));
  }
  WriteFile("two-sources.rrd", ReadConverted("two-sources"));
  if (hasDataSource) {  // which cannot be converted
    const RrdClient client;
    ASSERT_EQ(client.Create("topo_m.rrd", 60, 1000000000, 0, 9, 5), StatusCode::Success);
    ASSERT_EQ(client.Update("topo_m.rrd", {{1000000020, 1}, {1000000080, 2}}), StatusCode::Success);
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

const std::string LOADED = "LD_PRELOAD=" END_AT_CHANGE;

// Runs programs whose calls are replaced in a directory of its own.
class Killed : public testing::Test {
 protected:
  void SetUp() override {
    if (IS_SANITIZED != 0) {
      GTEST_SKIP() << "a program with a sanitizer cannot be given other system calls";
    }
    nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
    fs::current_path(directory.GetPath());
  }

  const TemporaryDirectory directory;
};

class Crash : public Killed, public testing::WithParamInterface<Command> {
 protected:
  static int RunCommand(const std::vector<std::string>& variables = {}) {
    std::istringstream words(GetParam().words);
    std::vector<std::string> command = {NVX_TIMESERIES};
    command.insert(command.end(), std::istream_iterator<std::string>(words), {});
    return RunProgram(command, variables).status;
  }

  const bool isConversion = GetParam().words.rfind("convert", 0) == 0;
  const std::string loaded = LOADED + GetParam().standIns;
};

TEST_P(Crash, LeavesEveryPathOldOrNewAndTheNextRunCompletes) {
  MakeTree(!isConversion);
  const Tree before = ReadTree();
  ASSERT_EQ(RunCommand(), 0);
  const Tree after = ReadTree();
  ASSERT_NE(before, after);
  int killCount = 0;
  const auto isKilled = [&] {
    MakeTree(!isConversion);
    const int status = RunCommand({loaded, "NVX_END_AT=" + std::to_string(killCount + 1)});
    EXPECT_TRUE(status == 0 || status == 128 + SIGKILL) << status;
    return status != 0;
  };
  while (!HasFailure() && isKilled()) {
    SCOPED_TRACE("ended at change " + std::to_string(++killCount));
    ExpectOldOrNew(before, ReadTree(), after);
    EXPECT_EQ(RunCommand(), 0);
    EXPECT_TRUE(ReadTree() == after);
  }
  EXPECT_TRUE(ReadTree() == after);
  EXPECT_GT(killCount, 5);
}

// An import of several batches that is killed before any of its changes has stored whole batches,
// and continues without loss.
TEST_F(Killed, ImportStoresWholeBatchesAndGoesOn) {
  const ProgramResult result = Shell().Run("LOADED=" + LOADED + R"(
    seq 0 20004 | awk '{ print 1000000020 + 60 * $1 "," $1 }' >samples.csv
    for option in --force --sync; do
      import="nvx-timeseries update topo:m --csv samples.csv --skip-past $option"
      kills=0
      while nvx-timeseries create topo:m --step 60 --rows 20005 --start 999999960 --force
            ! env $LOADED NVX_END_AT=$((kills += 1)) $import >output; do
        last=$(nvx-timeseries last topo:m | cut -d ' ' -f 3)
        case $last in nan | 9999 | 19999 | 20004) ;; *) echo "$kills: $last" ;; esac
        $import >output; nvx-timeseries export topo:m --format csv | cut -d , -f 1,3 | sed 1d | cmp samples.csv
      done
      echo $((kills > 10))
    done)");
  EXPECT_EQ(result.output, "1\n1\n");
}

TEST_P(Crash, LeavesEveryPathOldOrNewWhenThePowerFails) {
  const TemporaryDirectory record;
  MakeTree(!isConversion);
  const Tree before = ReadTree();
  Disk disk;
  ASSERT_EQ(RunCommand({loaded, "NVX_RECORD=" + record.GetPath()}), 0);
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
