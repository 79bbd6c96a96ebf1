// Damaged and malicious files: no byte of a header crashes the command, and no file that the RRD
// library can read is refused.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>

#include "support/leaks_of_librrd.h"
#include "support/legacy_file.h"
#include "support/log_capture.h"
#include "support/random.h"
#include "support/rrd_file.h"
#include "support/temporary_directory.h"
#include "timeseries/rrd_client.h"

int RunCommand(int argc, char** argv);  // the main function of the command line

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long LAST = 1700005400;

void WriteAnew(const std::string& path, const std::string& bytes) {
  std::filesystem::remove(path);  // closing a truncated file would flush it to the disk
  std::ofstream(path, std::ios::binary) << bytes;
}

// Runs every command on each file, which is restored before each; returns the number of the file at
// which a command went wrong.
[[noreturn]] void RunCommands(const std::string& directory, const std::vector<std::string>& files,
                              volatile std::size_t& current) {
  const std::string path = directory + "/topo_x.rrd";
  std::vector<std::vector<const char*>> commands = {
      {"info", "topo:x", "--format", "json"},
      {"query", "topo:x", "--interval", "1m", "--from", "last-1d", "--format", "csv"},
      {"query", "topo:x", "--interval", "1d", "--partial"},
      {"last", "topo:x"},
      {"query", "topo:x", "--interval", "all", "--no-adjust"},
      {"query", "topo:x", "--interval", "1h", "--from", "2023-11-14", "--to", "2023-11-16",
       "--function", "delta"},
      {"list"},
      {"update", "topo:x", "1700009000:1", "1700009300:2"},
  };
#if !defined(__SANITIZE_ADDRESS__)
  // The RRD library reads outside its memory in every migration, also of a sound file.
  commands.push_back({"migrate", "topo:x", "--step", "60", "--rows", "5"});
#endif
  if (std::freopen("/dev/null", "w", stdout) == nullptr ||
      std::freopen((directory + "/messages").c_str(), "w", stderr) == nullptr) {
    _exit(2);
  }
  for (current = 0; current < files.size(); current = current + 1) {
    alarm(60);
    for (std::vector<const char*> command : commands) {
      WriteAnew(path, files[current]);
      command.insert(command.begin(), {"nvx-timeseries", "-d", directory.c_str()});
      const int status =
          RunCommand(static_cast<int>(command.size()), const_cast<char**>(command.data()));
      if (status != 0 && status != 1 && status != 3) {
        _exit(status);
      }
    }
  }
  _exit(0);
}

std::string Mutate(std::string bytes, Random& random) {
  constexpr unsigned long BITS = std::numeric_limits<unsigned long>::digits;
  constexpr unsigned long NUMBERS[] = {0, 1, 2, 28, 29, 60, 0x7FF8UL << (BITS - 16), ~0UL};
  for (auto changes = random() % 3 + 1; changes > 0; --changes) {
    const std::size_t word = random() % (bytes.size() / sizeof(long)) * sizeof(long);
    if (random() % 4 == 0) {
      bytes[word + random() % sizeof(long)] = static_cast<char>(random());
    } else {
      const unsigned long number =
          random() % 2 == 0 ? NUMBERS[random() % std::size(NUMBERS)] : 1UL << random() % BITS;
      std::memcpy(&bytes[word], &number, sizeof(long));
    }
  }
  return bytes;
}

TEST(HostileFile, NeverBringsTheCommandDown) {
  constexpr int ROUNDS = IS_SLOW != 0 ? 5 : 50;
#if defined(__SANITIZE_ADDRESS__)
  constexpr long LARGEST = 2 << 20;  // including what the sanitizer needs
#else
  constexpr long LARGEST = 200 << 10;  // kibibytes
#endif
  const std::vector<std::string> seeds = {
      RrdFileBytes{}.Make(),
      RrdFileBytes{2, {{"LAST", 3, 1}, {"AVERAGE", 4, 7}, {"LAST", 2, 60}}}.Make(),
      RrdFileBytes{1, {{"LAST", 9, 1}}, 60, LAST, "0001"}.Make(),
      ReadFile(TEST_DATA "/fuzz/rrd/compute.rrd"),
      ReadFile(TEST_DATA "/fuzz/rrd/prediction.rrd"),
  };
  const TemporaryDirectory directory;
  auto* const current = static_cast<std::size_t*>(mmap(
      nullptr, sizeof(std::size_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(current, MAP_FAILED);
  Random random;
  for (int round = 0; round < ROUNDS; ++round) {
    std::vector<std::string> files;
    while (files.size() < 100) {
      files.push_back(Mutate(seeds[files.size() % seeds.size()], random));
    }
    const pid_t child = fork();
    if (child == 0) {
      RunCommands(directory.GetPath(), files, *current);
    }
    int status = 0;
    rusage usage{};
    ASSERT_EQ(wait4(child, &status, 0, &usage), child);
    if (status != 0) {
      const std::string kept = testing::TempDir() + "hostile.rrd";
      WriteAnew(kept, files[*current]);
      const std::string messages = ReadFile(directory.GetPath("messages"));
      FAIL() << kept << ": status " << status << '\n'
             << messages.substr(messages.size() - std::min<std::size_t>(messages.size(), 4000));
    }
    EXPECT_LE(usage.ru_maxrss, LARGEST) << round;
  }
  munmap(current, sizeof(std::size_t));
}

// Gives its status as wait does.
int QueryInChild(const std::string& directory, const std::string& messages) {
  const pid_t child = fork();
  if (child == 0) {
    const bool isOpen = std::freopen("/dev/null", "w", stdout) != nullptr &&
                        std::freopen(messages.c_str(), "a", stderr) != nullptr;
    const char* command[] = {"nvx-timeseries", "-d", directory.c_str(), "query", "topo:x",
                             "--interval",     "1d", "--format",        "csv"};
    _exit(isOpen ? RunCommand(std::size(command), const_cast<char**>(command)) : 2);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

// Queries a file that a process changes all the time, until `end` stands among the messages. False
// when a query was ended by a signal.
bool IsReadBesideChanges(const std::function<void(const std::string& path)>& change,
                         const std::string& end, int mostQueries) {
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_x.rrd");
  WriteAnew(path, RrdFileBytes{1, {{"LAST", 50000, 1}}}.Make());
  const pid_t writer = fork();
  if (writer == 0) {
    while (true) {
      change(path);
    }
  }
  const std::string messages = directory.GetPath("messages");
  bool isExited = true;
  bool isSeen = false;
  for (int i = 0; i < mostQueries && isExited && !isSeen; ++i) {
    isExited = WIFEXITED(QueryInChild(directory.GetPath(), messages));
    isSeen = ReadFile(messages).find(path + end) != std::string::npos;
  }
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  EXPECT_TRUE(isSeen) << end;
  return isExited;
}

TEST(HostileFile, MayBeWrittenOverWhileItIsRead) {
  const std::string bytes = RrdFileBytes{1, {{"LAST", 50000, 1}}}.Make();
  const auto writeOver = [&bytes](const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_TRUNC);
    if (write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      _exit(1);
    }
    close(file);
  };
  EXPECT_TRUE(IsReadBesideChanges(writeOver, ": it was changed while it was read\n", 4000));
}

TEST(HostileFile, IsRefusedWithAReason) {
  struct Case {
    const char* reason;
    RrdFileBytes file;
  };
  const Case cases[] = {
      {"it has no data source or no archive", {0, {{"LAST", 100000, 1}}}},
      {"it has no data source or no archive", {1, {}}},
      {"its step is out of range", {1, {{"LAST", 3, 1}}, 0}},
      {sizeof(long) == 4 ? "the times of an archive are out of range" : "its step is out of range",
       {1, {{"LAST", 3, 1}}, ~0UL}},
      {"the times of an archive are out of range", {1, {{"LAST", 3, 0}}}},
      {"the times of an archive are out of range", {1, {{"LAST", 3, ~0UL / 4}}, 2}},
      {"its last update is out of range", {1, {{"LAST", 3, 1}}, 60, -1}},
      {"its version is unknown", {1, {{"LAST", 3, 1}}, 60, LAST, "0006"}},
      {"the name of a consolidation function does not end", {1, {{"LASTLASTLASTLASTLAST", 3, 1}}}},
      {"a text of a data source does not end",
       {1, {{"LAST", 3, 1}}, 60, LAST, "0003", std::string(20, 'G')}},
      {"a formula of it cannot be computed", {1, {{"LAST", 3, 1}}, 60, LAST, "0003", "COMPUTE"}},
      {"a prediction of it cannot be computed", {1, {{"FAILURES", 3, 1}}}},
  };
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const RrdClient client;
  const auto expectRefusal = [&](const std::string& reason) {
    LogCapture log(3);
    long long first = 7;
    long long last = 7;
    unsigned long step = 7;
    Rrd::FetchResult result;
    EXPECT_EQ(client.GetFirstTimestamp(path, 0, first), StatusCode::Failure);
    EXPECT_EQ(client.GetLastTimestamp(path, last), StatusCode::Failure);
    EXPECT_EQ(client.GetInterval(path, step), StatusCode::Failure);
    EXPECT_EQ(client.Fetch(path, LAST, LAST + 60, result), StatusCode::Failure);
    EXPECT_EQ(client.Update(path, {{LAST + 600, 1}}), StatusCode::Failure);
    EXPECT_EQ(client.Migrate(path, 60, LAST, 0, 1, 5), StatusCode::Failure);
    EXPECT_TRUE(first == -1 && last == -1 && step == 7);
    const Lines lines = log.Take();
    EXPECT_EQ(lines.size(), 6u);
    for (const std::string& line : lines) {
      EXPECT_NE(line.find("[" + reason + "]"), std::string::npos) << line;
    }
  };
  for (const Case& hostile : cases) {
    WriteAnew(path, hostile.file.Make());
    expectRefusal(hostile.reason);
  }
  const std::string whole = RrdFileBytes{}.Make();
  struct Number {
    std::size_t offset;
    unsigned long value;
  };
  const auto expectRefusalOf = [&](std::string bytes, const std::vector<Number>& numbers,
                                   const std::string& reason) {
    for (const Number& number : numbers) {
      std::memcpy(&bytes[number.offset], &number.value, sizeof number.value);
    }
    WriteAnew(path, bytes);
    expectRefusal(reason);
  };
  constexpr unsigned long MANY = 1UL << 30;
  constexpr std::size_t SOURCES = offsetof(stat_head_t, ds_cnt);
  constexpr std::size_t ARCHIVES = offsetof(stat_head_t, rra_cnt);
  const std::string tooMany = "it has too many data sources or archives for a file of this machine";
  expectRefusalOf(whole, {{offsetof(stat_head_t, float_cookie), MANY}}, "it is of another machine");
  expectRefusalOf(whole, {{SOURCES, MANY}}, tooMany);
  expectRefusalOf(whole, {{SOURCES, 2000}, {ARCHIVES, 2000}}, tooMany);
  expectRefusalOf(whole, {{whole.size() - 3 * sizeof(double) - sizeof(rra_ptr_t), 3}},
                  "the newest row of an archive lies outside it");
  // A formula without an end, or with nothing before it, and a prediction from no archive.
  constexpr std::size_t FORMULA = sizeof(stat_head_t) + offsetof(ds_def_t, par);
  const std::string computed =
      RrdFileBytes{1, {{"LAST", 3, 1}}, 60, LAST, "0003", "COMPUTE"}.Make();
  for (const unsigned long start : {0UL, 32UL}) {
    expectRefusalOf(computed, {{FORMULA, start}}, "a formula of it cannot be computed");
  }
  // The operators beside those that read and write nothing else.
  for (const unsigned long operation : {3, 7, 33, 36, 37, 40, 43, 47, 49, 54, 68, 70}) {
    expectRefusalOf(computed, {{FORMULA, operation}, {FORMULA + 4, 32}},
                    "a formula of it cannot be computed");
  }
  expectRefusalOf(RrdFileBytes{1, {{"FAILURES", 3, 1}}}.Make(),
                  {{sizeof(stat_head_t) + sizeof(ds_def_t) + offsetof(rra_def_t, par) +
                        RRA_dependent_rra_idx * sizeof(unival),
                    1}},
                  "a prediction of it cannot be computed");
  WriteAnew(path, whole.substr(0, whole.size() - 1));
  expectRefusal("its values are cut off");
  WriteAnew(path, whole.substr(0, 500));
  expectRefusal("its header is cut off");
  const int writer = open(path.c_str(), O_RDWR);  // which may just be changing what it looks like
  struct flock lock {};
  lock.l_type = F_WRLCK;
  ASSERT_EQ(fcntl(writer, F_OFD_SETLK, &lock), 0);
  expectRefusal("could not lock RRD");
  close(writer);
  std::filesystem::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  expectRefusal("it is no regular file");
}

TEST(FileGate, AcceptsEveryFileThatTheRrdLibraryReads) {
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const RrdClient client;
  const auto expectWhole = [&](const std::string& bytes) {
    WriteAnew(path, bytes);
    long long last = 0;
    unsigned long step = 0;
    Rrd::FetchResult result;
    EXPECT_EQ(client.GetLastTimestamp(path, last), StatusCode::Success);
    EXPECT_EQ(client.GetInterval(path, step), StatusCode::Success);
    EXPECT_EQ(client.Fetch(path, LAST - 60, LAST, result), StatusCode::Success);
    EXPECT_NE(client.Update(path, {{LAST + 600, 1}}), StatusCode::NotFound);
  };
  for (const char* version : {"0001", "0002", "0003", "0004", "0005"}) {
    expectWhole(RrdFileBytes{1, {{"LAST", 3, 1}}, 60, LAST, version}.Make());
  }
  expectWhole(RrdFileBytes{}.Make() + std::string(8, '\0'));  // old files end with an unused word
  expectWhole(RrdFileBytes{400, {{"LAST", 3, 1}, {"MAX", 3, 1}}}.Make());
  if (sizeof(long) == 8) {  // as on the machine that wrote them
    expectWhole(ReadFile(TEST_DATA "/fuzz/rrd/compute.rrd"));
    expectWhole(ReadFile(TEST_DATA "/fuzz/rrd/prediction.rrd"));
  }
}

TEST(HostileFile, IsFetchedFromTheArchiveThatIsExpected) {
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const RrdClient client;
  Random random;
  constexpr const char* FUNCTIONS[] = {"LAST", "LAST", "AVERAGE", "MIN", "MAX", "no function", ""};
  for (int i = 0; i < 400; ++i) {
    RrdFileBytes file{1, {}};
    for (auto count = random() % 4 + 1; count > 0; --count) {
      file.archives.push_back(
          {FUNCTIONS[random() % std::size(FUNCTIONS)], random() % 9 + 1, random() % 4 + 1});
    }
    WriteAnew(path, file.Make());
    const long long start = LAST - static_cast<long long>(random() % 4000);
    Rrd::FileDescription description;
    ASSERT_EQ(client.Describe(path, description), StatusCode::Success);
    const Rrd::ArchiveDescription* const archive = description.FindArchive(start);
    Rrd::FetchResult result;
    const LogCapture log(0);
    EXPECT_EQ(client.Fetch(path, start, LAST, result) == StatusCode::Success, archive != nullptr);
    EXPECT_EQ(result.GetStep(), archive == nullptr ? 0 : archive->stepsPerRow * description.step);
  }
}

TEST(HostileFile, LeavesNoErrorForTheNextFile) {
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const RrdClient client;
  const LogCapture log(0);
  WriteAnew(path, RrdFileBytes{}.Make());
  EXPECT_EQ(client.Migrate(directory.GetPath("none.rrd"), 60, LAST, 0, 1, 5), StatusCode::Failure);
  EXPECT_EQ(client.Update(path, {{LAST + 600, 1}}), StatusCode::Success);
}

TEST(HostileFile, IsNotFetchedIntoMoreMemoryThanItHas) {
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const RrdClient client;
  const LogCapture log(0);
  for (const char* function : {"LAST", "AVERAGE"}) {
    WriteAnew(path, RrdFileBytes{400, {{function, 1, 1}}, 1}.Make());
    Rrd::FetchResult result;
    EXPECT_EQ(client.Fetch(path, LAST - 40'000'000, LAST, result), StatusCode::Failure);
    EXPECT_EQ(client.Fetch(path, LAST - 3600, LAST, result), StatusCode::Success);
  }
}

}  // namespace
