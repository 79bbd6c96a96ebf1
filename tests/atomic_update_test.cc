// Atomic updates: what they store, sync and leave behind, and which journals they refuse.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <rrd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include "rrd/checksum.h"
#include "rrd/journal.h"
#include "support/child.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/one_file.h"
#include "support/random.h"
#include "support/run_program.h"

namespace fs = std::filesystem;
using namespace nvx::TimeSeriesDatabase;

namespace {

using Rrd::Durability;
using Batch = std::map<long long, double>;

constexpr long long START = 1700000040;  // a multiple of 60

// Sees a sync instead of the disk.
std::function<void(const std::string&)> onSync;

// Comes between a reader's locks, once.
std::function<void()> onUnlock;

int Sync(int fd) {
  onSync(fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).filename());
  return 0;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" int fdatasync(int fd) { return Sync(fd); }
extern "C" int fsync(int fd) { return Sync(fd); }
extern "C" int flock(int fd, int operation) noexcept {
  if (operation == LOCK_UN && onUnlock) {
    std::exchange(onUnlock, nullptr)();
  }
  return static_cast<int>(syscall(SYS_flock, fd, operation));
}
#pragma GCC visibility pop

namespace {

class AtomicUpdate : public OneFile {
 protected:
  AtomicUpdate() {
    fs::permissions(directory.GetPath(), fs::perms(0755));
    Make(path, {"DS:element:GAUGE:120:U:U", "RRA:LAST:0.99999:1:100"});
    onSync = [](const std::string&) {};
  }

  void Make(const std::string& file, std::vector<const char*> definitions) {
    ASSERT_EQ(rrd_create_r(file.c_str(), 60, START, static_cast<int>(definitions.size()),
                           definitions.data()),
              0);
    ASSERT_EQ(client.Update(file, {{START + 60, 1}, {START + 120, 2}}), StatusCode::Success);
  }

  // A process that ends when it has stored a batch of one more sample, before it counts.
  void InterruptUpdate() {
    const int status = RunInChild([this] {
      onSync = [](const std::string& name) {
        if (name == "topo_x.rrd" && ReadFile("topo_x.rrd-journal").rfind("NVXUNDO", 0) == 0) {
          std::raise(SIGKILL);
        }
      };
      fs::current_path(directory.GetPath());
      (void)client.UpdateAtomically(path, {{START + 180, 3}}, Durability::Power);
      return 1;
    });
    ASSERT_EQ(status, 128 + SIGKILL);
    ASSERT_EQ(rrd_last_r(path.c_str()), START + 180);
  }

  ProgramResult Run(std::vector<std::string> command) const {
    command.insert(command.begin(), {NVX_TIMESERIES, "-d", directory.GetPath()});
    return RunProgram(command);
  }

  // The words of a failed query; none of a query that finds the last update.
  std::string Query(long long expectedLast) {
    LogCapture log;
    long long last = 0;
    if (client.GetLastTimestamp(path, last) == StatusCode::Success) {
      EXPECT_EQ(last, expectedLast);
      return "";
    }
    const std::string line = log.Take().back();
    const auto begin = line.rfind('[') + 1;
    return line.substr(begin, line.rfind(']') - begin);
  }

  const std::string journal = path + "-journal";
};

TEST_F(AtomicUpdate, StoresWhatTheRrdLibraryDoes) {
  const std::vector<std::vector<const char*>> shapes = {
      {"DS:element:GAUGE:120:0:50", "RRA:LAST:0.99999:1:100"},
      {"DS:element:GAUGE:300:U:U", "DS:twice:COMPUTE:element,2,*", "RRA:AVERAGE:0.5:1:40",
       "RRA:AVERAGE:0.5:7:30", "RRA:MAX:0.5:12:20", "RRA:LAST:0.5:1:9"},
      {"DS:element:ABSOLUTE:300:U:U", "RRA:MIN:0.5:3:40"},
      {"DS:element:DCOUNTER:300:U:U", "DS:more:COMPUTE:element,5,+", "RRA:AVERAGE:0.5:2:50",
       "RRA:MHWPREDICT:120:0.1:0.0035:24"},
      {"DS:element:GAUGE:300:U:U", "RRA:HWPREDICT:120:0.1:0.0035:24"}};
  Random random;
  for (const auto& shape : shapes) {
    const std::string ours = directory.GetPath("ours.rrd");
    const std::string theirs = directory.GetPath("theirs.rrd");
    Make(ours, shape);
    fs::copy_file(ours, theirs, fs::copy_options::overwrite_existing);
    long long time = START + 120;
    for (const int size : {1, 1, 2, 70, 1, 300}) {
      Batch batch;
      std::vector<std::string> command = {"rrdtool", "update", theirs};
      for (int i = 0; i < size; ++i) {
        time += random.Between(0, 20) == 0 ? random.Between(61, 40000) : random.Between(1, 70);
        batch[time] = i % 9 == 8 ? NAN : static_cast<double>(random.Between(0, 99)) / 8;
        command.push_back(std::to_string(time) + ':' + std::to_string(batch[time]));
      }
      ASSERT_EQ(client.UpdateAtomically(ours, batch, Durability::Process), StatusCode::Success);
      ASSERT_EQ(RunProgram(command).status, 0);
      ASSERT_TRUE(ReadFile(ours) == ReadFile(theirs));
      ASSERT_FALSE(fs::exists(ours + "-journal"));
    }
  }
}

// The RRD library counts the first time from now, and refuses the second one then.
TEST_F(AtomicUpdate, StoresNothingOfABatchThatIsRefused) {
  const std::string before = ReadFile(path);
  const Batch batch = {{-5, 1}, {START + 180, 2}};
  for (const auto durability : {Durability::Process, Durability::Power}) {
    std::vector<std::string> syncs;
    onSync = [&](const std::string& name) { syncs.push_back(name); };
    EXPECT_EQ(client.UpdateAtomically(path, batch, durability), StatusCode::Failure);
    EXPECT_EQ(std::count(syncs.begin(), syncs.end(), "topo_x.rrd"),
              durability == Durability::Power ? 2 : 0);  // before the batch, and when it is undone
    EXPECT_TRUE(ReadFile(path) == before);
    EXPECT_EQ(Query(START + 120), "");
  }
  const std::string text = directory.GetPath("text.rrd");
  WriteFile(text, "no RRD file");
  const std::string circle = directory.GetPath("circle.rrd");
  fs::create_symlink("circle.rrd", circle);
  for (const auto& [file, samples, words] :
       {std::tuple(path, Batch(), std::string("Not enough arguments")),
        {text, batch, "reached EOF while loading header rrd->stat_head"},
        {circle, batch, "opening '" + circle + "': Too many levels of symbolic links"}}) {
    EXPECT_EQ(client.UpdateAtomically(file, samples, Durability::Process), StatusCode::Failure);
    EXPECT_EQ(Failure::GetReason(), words);
  }
  EXPECT_EQ(client.UpdateAtomically(path, {{1LL << 41, 1}}, Durability::Process),
            StatusCode::Failure);
  EXPECT_TRUE(ReadFile(path) == before);
  EXPECT_EQ(client.Update(path, batch), StatusCode::Failure);
  EXPECT_FALSE(ReadFile(path) == before);
}

TEST_F(AtomicUpdate, SyncsInOrder) {
  std::vector<std::string> syncs;
  const std::string directoryName = fs::path(directory.GetPath()).filename();
  std::string file;
  onSync = [&](const std::string& name) {
    const bool isStored = ReadFile(path) != file;
    syncs.push_back(name + (isStored ? ", stored, " : ", ") + ReadFile(journal).substr(0, 7));
  };
  const auto update = [&](long long time, Durability durability) {
    syncs.clear();
    file = ReadFile(path);
    EXPECT_EQ(client.UpdateAtomically("topo_x.rrd", {{time, 3}}, durability), StatusCode::Success);
    return syncs;
  };
  const fs::path formerDirectory = fs::current_path();
  fs::current_path(directory.GetPath());
  using Names = std::vector<std::string>;
  const Names usual = {"topo_x.rrd-journal, NVXUNDO", "topo_x.rrd, stored, NVXUNDO",
                       "topo_x.rrd-journal, stored, NVXIDLE"};
  EXPECT_EQ(update(START + 180, Durability::Process), Names());
  EXPECT_EQ(update(START + 240, Durability::Power),
            Names({"topo_x.rrd, ", usual[0], directoryName + ", NVXUNDO", usual[1], usual[2]}));
  EXPECT_EQ(update(START + 300, Durability::Power), usual);
  EXPECT_EQ(update(START + 360, Durability::Process), Names());
  EXPECT_EQ(update(START + 420, Durability::Power),
            Names({"topo_x.rrd, NVXIDLE", usual[0], usual[1], usual[2]}));
  fs::current_path(formerDirectory);
}

TEST_F(AtomicUpdate, IsUndoneByWhoeverComesNext) {
  const std::string before = ReadFile(path);
  const std::string link = directory.GetPath("link.rrd");
  fs::create_symlink("topo_x.rrd", link);
  Rrd::FileDescription description;
  Rrd::FetchResult samples;
  unsigned long interval = 0;
  long long first = 0;
  const std::function<StatusCode()> operations[] = {
      [&] { return client.GetFirstTimestamp(path, 0, first); },
      [&] { return client.GetInterval(path, interval); },
      [&] { return client.Fetch(path, START, START + 300, samples); },
      [&] { return client.Describe(link, description); },
  };
  for (const auto& operation : operations) {
    InterruptUpdate();
    EXPECT_EQ(operation(), StatusCode::Success);
    EXPECT_TRUE(ReadFile(path) == before);
    EXPECT_FALSE(fs::exists(journal));
  }
  for (const auto& [command, words] :
       {std::pair("check", "topo:x: an update was interrupted: it is undone now\n"),
        std::pair("recover", "topo:x: the interrupted update is undone\n")}) {
    InterruptUpdate();
    EXPECT_EQ(Run({command, "topo:x"}).output, words);
    EXPECT_TRUE(ReadFile(path) == before);
  }
  InterruptUpdate();
  EXPECT_EQ(client.Migrate(path, 60, START + 240, NAN, NAN, 50), StatusCode::Success);
  EXPECT_EQ(client.Fetch(path, START + 120, START + 180, samples), StatusCode::Success);
  EXPECT_EQ(samples.GetData()[0], 2);
  EXPECT_TRUE(std::isnan(samples.GetData()[1]));
}

// What is made of the file is made of it as it was before.
TEST_F(AtomicUpdate, IsUndoneBeforeTheFileIsExportedOrConverted) {
  const std::string before = ReadFile(path);
  const std::string made = directory.GetPath("made");
  const std::string layout = sizeof(long) == 4 ? "64bit" : "arm32-time64";
  const auto convertTo = [&](const std::string& last) {
    EXPECT_EQ(Run({"convert", "--to", layout, path, last}).status, 0);
    return ReadFile(last == made ? made : path);
  };
  const std::string expected = convertTo(made);
  InterruptUpdate();
  EXPECT_EQ(Run({"export", "topo:x", "--format", "csv"}).status, 0);
  EXPECT_TRUE(ReadFile(path) == before);

  fs::remove(made);
  InterruptUpdate();
  EXPECT_TRUE(convertTo(made) == expected);
  EXPECT_TRUE(ReadFile(path) == before);

  InterruptUpdate();
  EXPECT_TRUE(convertTo("--in-place") == expected);

  WriteFile(path, before);
  InterruptUpdate();
  fs::resize_file(path, before.size() - 8);
  const ProgramResult recovery = Run({"recover", "topo:x", "--in-place"});
  EXPECT_EQ(recovery.status, 0);
  EXPECT_NE(recovery.error.find("warning: its last update was interrupted"), std::string::npos);
  EXPECT_FALSE(fs::exists(journal));
}

// Batches after that of the journal are not undone.
TEST_F(AtomicUpdate, IsUndoneOnlyInItsFile) {
  InterruptUpdate();
  const std::string bytes = ReadFile(journal);
  struct statx status {};
  ASSERT_EQ(statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
  Rrd::JournalHead head;
  std::memcpy(&head, bytes.data(), sizeof head);
  EXPECT_EQ(head.file.birthSeconds, status.stx_btime.tv_sec);  // the inode may be another's later
  const std::string copy = directory.GetPath("copy.rrd");
  fs::copy_file(path, copy);
  const auto overwrite = [this](int step, unsigned int rows) {
    const std::string other = directory.GetPath("other.rrd");
    ASSERT_EQ(client.Create(other, step, START, NAN, NAN, rows), StatusCode::Success);
    WriteFile(path, ReadFile(other));
  };
  // With a newest row that the update cannot have reached; with another row before it.
  std::string jumped = ReadFile(path);
  std::string twin = jumped;
  const std::size_t rows = twin.size() - 100 * sizeof(double);
  char& newest = jumped[rows - sizeof(unsigned long)];
  twin[rows + static_cast<std::size_t>((newest + 99) % 100) * sizeof(double)] ^= 1;
  const char interrupted = newest;
  newest = static_cast<char>((interrupted + 50) % 100);
  const std::function<void()> changes[] = {
      [&] {
        ASSERT_EQ(RunProgram({"rrdtool", "update", path, "1700000280:4"}).status, 0);
      },
      [&] { overwrite(60, 2); },    // with an older backup of fewer rows
      [&] { overwrite(30, 100); },  // of another step
      [&] { overwrite(60, 100); },
      [&] { WriteFile(path, jumped); },
      [&] { WriteFile(path, twin); },
  };
  const auto expectAsItIs = [&] {
    const std::string now = ReadFile(path);
    WriteFile(journal, bytes);
    const long long last = rrd_last_r(path.c_str());
    EXPECT_EQ(Query(last), "");
    EXPECT_TRUE(ReadFile(path) == now);
    EXPECT_FALSE(fs::exists(journal));
  };
  for (const auto& change : changes) {
    change();
    expectAsItIs();
  }
  newest = static_cast<char>(interrupted + (interrupted == 0 ? 200 : 100));  // of 100
  WriteFile(path, jumped);
  WriteFile(journal, bytes);
  EXPECT_EQ(Query(0), "the newest row of an archive lies outside it");
  EXPECT_TRUE(ReadFile(path) == jumped);
  fs::rename(copy, path);
  expectAsItIs();
}

TEST_F(AtomicUpdate, IsNotUndoneInAFileThatComesInItsPlace) {
  const std::string other = directory.GetPath("other.rrd");
  Make(other, {"DS:element:GAUGE:120:U:U", "RRA:LAST:0.99999:1:100"});
  const std::string bytes = ReadFile(other);
  InterruptUpdate();
  onUnlock = [&] { fs::rename(other, path); };
  EXPECT_EQ(Query(0), "could not lock RRD");
  EXPECT_TRUE(ReadFile(path) == bytes);
  EXPECT_EQ(Query(START + 120), "");
}

TEST_F(AtomicUpdate, GivesItsJournalToTheOwnerOfTheFile) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "root alone can give files away";
  }
  for (const auto& [user, group, mode] :
       {std::tuple(0U, 65534U, 0640U), std::tuple(65534U, 0U, 0666U)}) {
    fs::remove(journal);
    ASSERT_EQ(chown(path.c_str(), user, group) + chmod(path.c_str(), mode), 0);
    long long last = 0;
    ASSERT_EQ(client.GetLastTimestamp(path, last), StatusCode::Success);
    ASSERT_EQ(client.UpdateAtomically(path, {{last + 60, 3}}, Durability::Power),
              StatusCode::Success);
    struct stat status {};
    ASSERT_EQ(stat(journal.c_str(), &status), 0);
    EXPECT_EQ(std::tuple(status.st_uid, status.st_gid, status.st_mode & 0777),
              std::tuple(user, group, mode));
  }
}

// It tells of the update when a whole file is made of what is left.
TEST_F(AtomicUpdate, LeavesTheJournalBesideAFileThatLostItsEnd) {
  InterruptUpdate();
  const std::string bytes = ReadFile(journal);
  const std::string now = ReadFile(path);
  for (const std::size_t size : {now.size() - 8, std::size_t{300}, std::size_t{100}}) {
    fs::resize_file(path, size);
    EXPECT_EQ(Query(0), size > 300 ? "its values are cut off" : "its header is cut off");
    EXPECT_EQ(Failure::GetKind(), size > 300 ? FailureKind::CutOff : FailureKind::Other);
    EXPECT_EQ(client.UpdateAtomically(path, {{START + 240, 1}}, Durability::Process),
              StatusCode::Failure);
    EXPECT_TRUE(ReadFile(journal) == bytes);
    EXPECT_TRUE(ReadFile(path) == now.substr(0, size));
  }
}

TEST_F(AtomicUpdate, HasWordsForWhatItCannotDo) {
  InterruptUpdate();
  const std::string before = ReadFile(path);
  const int fd = open(path.c_str(), O_RDONLY);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  EXPECT_EQ(Query(0), "could not lock RRD");
  close(fd);
  if (geteuid() == 0) {
    for (const mode_t mode : {0600U, 0644U}) {
      ASSERT_EQ(chmod(journal.c_str(), mode), 0);
      ASSERT_EQ(seteuid(65534), 0);
      EXPECT_EQ(Query(0), "an interrupted update is to be undone, which needs write permission");
      EXPECT_EQ(Failure::GetKind(), FailureKind::NotUndone);
      ASSERT_EQ(seteuid(0), 0);
    }
    ASSERT_EQ(chown(journal.c_str(), 65534, 65534), 0);
    EXPECT_EQ(chown(path.c_str(), 65533, 65533), 0);
    EXPECT_EQ(Query(0), "its journal belongs to another user");
    ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
  }
  EXPECT_TRUE(ReadFile(path) == before);
  if (geteuid() == 0) {  // a user who cannot write the file does not undo it, nor has to
    const std::string second = directory.GetPath("second");
    ASSERT_EQ(chown(path.c_str(), 0, 0), 0);
    fs::create_hard_link(journal, second);
    ASSERT_EQ(seteuid(65534), 0);
    EXPECT_EQ(Query(0), "its journal is no regular file with one name");
    ASSERT_EQ(seteuid(0), 0);
    fs::remove(second);
    const std::string bytes = ReadFile(journal);
    WriteFile(journal, "other");
    ASSERT_EQ(seteuid(65534), 0);
    EXPECT_EQ(Query(START + 180), "");
    ASSERT_EQ(seteuid(0), 0);
    WriteFile(journal, bytes);
    ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
  }
  EXPECT_EQ(Query(START + 120), "");
  if (geteuid() == 0) {  // nor one of another file
    InterruptUpdate();
    const std::string copy = directory.GetPath("copy");
    fs::copy_file(path, copy);
    fs::rename(copy, path);
    ASSERT_EQ(seteuid(65534), 0);
    EXPECT_EQ(Query(START + 180), "");
    ASSERT_EQ(seteuid(0), 0);
  }
}

TEST_F(AtomicUpdate, TakesNoOtherFileForItsJournal) {
  InterruptUpdate();
  const std::string bytes = ReadFile(journal);
  const std::string before = ReadFile(path);
  const std::string other = directory.GetPath("other");
  fs::rename(journal, other);
  const std::pair<std::function<void()>, const char*> attacks[] = {
      {[&] { fs::create_symlink(other, journal); }, "its journal cannot be opened"},
      {[&] { fs::create_hard_link(other, journal); },
       "its journal is no regular file with one name"},
      {[&] { ASSERT_EQ(mkfifo(journal.c_str(), 0600), 0); },
       "its journal is no regular file with one name"},
      {[&] { fs::create_directory(journal); }, "its journal cannot be opened"},
  };
  for (const auto& [attack, words] : attacks) {
    attack();
    EXPECT_EQ(Query(0), words);
    EXPECT_EQ(Failure::GetKind(), FailureKind::BadJournal);
    EXPECT_EQ(client.UpdateAtomically(path, {{START + 240, 1}}, Durability::Process),
              StatusCode::Failure);
    EXPECT_TRUE(ReadFile(other) == bytes);
    EXPECT_TRUE(ReadFile(path) == before);
    fs::remove(journal);
  }
}

// Whatever is in a journal, only the header and the rows of its own file change, and only to values
// that the journal's checksum covers.
TEST_F(AtomicUpdate, IgnoresADamagedJournal) {
  InterruptUpdate();
  const std::string bytes = ReadFile(journal);
  const std::string now = ReadFile(path);
  Random random;
  // A checksum that is right, of a size or a header that is none or ends elsewhere.
  for (const auto& [place, change] :
       {std::pair(std::size_t{16}, -8), {16, -3}, {24, 8}, {24, -8}, {49, -4}, {88, 8}}) {
    std::string damaged = bytes;
    damaged[place] = static_cast<char>(damaged[place] + change);
    std::uint64_t size = 0;
    std::memcpy(&size, &damaged[16], sizeof size);
    const std::uint64_t sum = Rrd::ComputeChecksum(
        std::string_view(damaged).substr(16, static_cast<std::size_t>(size - 16)));
    std::memcpy(&damaged[8], &sum, sizeof sum);
    WriteFile(journal, damaged);
    ASSERT_EQ(Query(START + 180), "") << place;
    ASSERT_TRUE(ReadFile(path) == now);
  }
  for (int i = 0; i < 300; ++i) {
    std::string damaged = bytes;
    const auto place =
        static_cast<std::size_t>(random.Between(0, static_cast<long long>(bytes.size()) - 1));
    if (i % 3 == 0) {
      damaged.resize(place);
    } else {
      damaged[place] = static_cast<char>(damaged[place] ^ (1 << random.Between(0, 7)));
    }
    WriteFile(journal, damaged);
    ASSERT_EQ(Query(START + 180), "") << place;
    ASSERT_TRUE(ReadFile(path) == now);
    ASSERT_FALSE(fs::exists(journal));
  }
}

TEST_F(AtomicUpdate, FailsWhereNoJournalCanBeMade) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs a user who may write the file and not the directory";
  }
  const std::string before = ReadFile(path);
  const std::string longPath = directory.GetPath(std::string(250, 'x'));
  fs::copy_file(path, longPath);
  EXPECT_EQ(client.UpdateAtomically(longPath, {{START + 180, 3}}, Durability::Process),
            StatusCode::Failure);
  EXPECT_EQ(client.Update(longPath, {{START + 180, 3}}), StatusCode::Success);
  ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
  ASSERT_EQ(seteuid(65534), 0);
  LogCapture log;
  EXPECT_EQ(client.UpdateAtomically(path, {{START + 180, 3}}, Durability::Process),
            StatusCode::Failure);
  EXPECT_NE(log.Take().back().find("Update: error [its journal cannot be made: "
                                   "Permission denied], file path ["),
            std::string::npos);
  EXPECT_TRUE(ReadFile(path) == before);
  EXPECT_EQ(client.Update(path, {{START + 180, 3}}), StatusCode::Success);
  ASSERT_EQ(seteuid(0), 0);
}

}  // namespace
