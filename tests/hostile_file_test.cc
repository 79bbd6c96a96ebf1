// Damaged and malicious files: no byte of a header crashes the command, and no file that the RRD
// library can read is refused.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>

#include "support/child.h"
#include "support/command.h"
#include "support/files.h"
#include "support/leaks_of_librrd.h"
#include "support/log_capture.h"
#include "support/one_file.h"
#include "support/random.h"
#include "support/rrd_file.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

using FileGate = OneFile;
using HostileFile = OneFile;

constexpr long long LAST = 1700005400;
constexpr std::size_t FORMULA = sizeof(stat_head_t) + offsetof(ds_def_t, par);

void WriteAnew(const std::string& path, const std::string& bytes) {
  std::filesystem::remove(path);  // closing a truncated file would flush it to the disk
  std::ofstream(path, std::ios::binary) << bytes;
}

// In a child process, for what a command writes.
void SendMessagesTo(const std::string& path) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr ||
      std::freopen(path.c_str(), "a", stderr) == nullptr) {
    _exit(2);
  }
}

// Runs every command on each file, which is restored before each. At its end, `kept` is the file at
// which a command went wrong.
int RunCommands(const std::string& directory, const std::vector<std::string>& files,
                const std::string& kept) {
  std::vector<std::vector<std::string>> commands = {
      {"info", "topo:x", "--format", "json"},
      {"query", "topo:x", "--interval", "1m", "--from", "last-1d", "--format", "csv"},
      {"query", "topo:x", "--interval", "1d", "--partial"},
      {"last", "topo:x"},
      {"check", "topo:x"},
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
  SendMessagesTo(directory + "/messages");
  for (const std::string& file : files) {
    alarm(60);
    WriteAnew(kept, file);
    for (std::vector<std::string> command : commands) {
      WriteAnew(directory + "/topo_x.rrd", file);
      command.insert(command.end(), {"-d", directory});
      const int status = RunInProcess(command);
      if (status != 0 && status != 1 && status != 3) {
        return status;
      }
    }
  }
  return 0;
}

std::string Mutate(std::string bytes, Random& random) {
  constexpr unsigned long BITS = std::numeric_limits<unsigned long>::digits;
  constexpr unsigned long NUMBERS[] = {0, 1, 2, 28, 29, 60, 0x7FF8UL << (BITS - 16), ~0UL};
  for (auto changes = random() % 3 + 1; changes > 0; --changes) {
    const std::size_t word = random.Below(bytes.size() / sizeof(long)) * sizeof(long);
    if (random() % 4 == 0) {
      bytes[word + random.Below(sizeof(long))] = static_cast<char>(random());
    } else {
      const unsigned long number =
          random() % 2 == 0 ? NUMBERS[random() % std::size(NUMBERS)] : 1UL << random() % BITS;
      std::memcpy(&bytes[word], &number, sizeof(long));
    }
  }
  return bytes;
}

TEST_F(HostileFile, NeverBringsTheCommandDown) {
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
  const std::string kept = testing::TempDir() + "hostile.rrd";
  Random random;
  for (int round = 0; round < ROUNDS; ++round) {
    std::vector<std::string> files;
    while (files.size() < 100) {
      files.push_back(Mutate(seeds[files.size() % seeds.size()], random));
    }
    const pid_t child = StartChild([&] { return RunCommands(directory.GetPath(), files, kept); });
    int status = 0;
    rusage usage{};
    ASSERT_EQ(wait4(child, &status, 0, &usage), child);
    if (status != 0) {
      const std::string messages = ReadFile(directory.GetPath("messages"));
      FAIL() << kept << ": status " << status << '\n'
             << messages.substr(messages.size() - std::min<std::size_t>(messages.size(), 4000));
    }
    EXPECT_LE(usage.ru_maxrss, LARGEST) << round;
  }
}

TEST_F(HostileFile, MayBeWrittenOverWhileItIsRead) {
  const std::string messages = directory.GetPath("messages");
  const std::string bytes = RrdFileBytes{1, {{"LAST", 50000, 1}}}.Make();
  WriteAnew(path, bytes);
  const pid_t writer = StartChild([&]() -> int {
    while (true) {
      WriteFile(path, bytes);
    }
  });
  bool isSeen = false;
  for (int i = 0; i < 4000 && !isSeen && !HasFailure(); ++i) {
    const int status = RunInChild([&] {
      SendMessagesTo(messages);
      return RunInProcess({"query", "topo:x", "--interval", "1d", "-d", directory.GetPath()});
    });
    EXPECT_LT(status, 128);
    isSeen =
        ReadFile(messages).find(path + ": it was changed while it was read\n") != std::string::npos;
  }
  kill(writer, SIGKILL);
  WaitFor(writer);
  EXPECT_TRUE(isSeen);
}

// The reason and the bytes of each.
std::vector<std::pair<std::string, std::string>> ListRefusedFiles() {
  constexpr unsigned long MANY = 1UL << 30;
  constexpr long FAR = std::numeric_limits<long>::max();
  constexpr std::size_t SOURCES = offsetof(stat_head_t, ds_cnt);
  constexpr std::size_t ARCHIVES = offsetof(stat_head_t, rra_cnt);
  constexpr std::size_t PARAMETERS =
      sizeof(stat_head_t) + sizeof(ds_def_t) + offsetof(rra_def_t, par);
  constexpr std::size_t PREDICTED = PARAMETERS + RRA_dependent_rra_idx * sizeof(unival);
  constexpr std::size_t VIOLATIONS = PARAMETERS + RRA_window_len * sizeof(unival);
  constexpr std::size_t SMOOTHING =  // the upper half of a double
      PARAMETERS + RRA_seasonal_smoothing_window * sizeof(unival) + 4;
  constexpr std::size_t LIVE_HEAD = sizeof(stat_head_t) + sizeof(ds_def_t) + sizeof(rra_def_t);
  constexpr std::size_t MICROSECONDS = LIVE_HEAD + offsetof(live_head_t, last_up_usec);
  constexpr std::size_t LAST_READING = LIVE_HEAD + sizeof(live_head_t);
  const std::vector<RrdFileBytes::Archive> one = {{"LAST", 3, 1}};
  const std::string whole = RrdFileBytes{}.Make();
  const std::string computed = RrdFileBytes{1, one, 60, LAST, "0003", "COMPUTE"}.Make();
  const std::string predicted = RrdFileBytes{1, {{"FAILURES", 3, 1}}}.Make();
  const std::string seasonal = RrdFileBytes{1, {{"SEASONAL", 3, 1}}}.Make();
  const std::string times = "the times of an archive are out of range";
  const std::string step = "its step is out of range";
  const std::string update = "its last update is out of range";
  const std::string text = "a text of a data source does not end";
  const std::string empty = "it has no data source or no archive";
  const std::string tooMany = "it has too many data sources or archives for a file of this machine";
  const std::string formula = "a formula of it cannot be computed";
  const std::string prediction = "a prediction of it cannot be computed";
  using Numbers = std::vector<std::pair<std::size_t, unsigned long>>;
  const auto put = [](std::string bytes, const Numbers& numbers) {
    for (const auto& [offset, value] : numbers) {
      std::memcpy(&bytes[offset], &value, sizeof value);
    }
    return bytes;
  };
  const auto fill = [](std::string bytes, std::size_t offset, std::size_t count) {
    return bytes.replace(offset, count, count, 'x');
  };
  std::vector<std::pair<std::string, std::string>> files = {
      {empty, RrdFileBytes{0, {{"LAST", 100000, 1}}}.Make()},
      {empty, RrdFileBytes{1, {}}.Make()},
      {step, RrdFileBytes{1, one, 0}.Make()},
      {sizeof(long) == 4 ? times : step, RrdFileBytes{1, one, ~0UL}.Make()},
      {sizeof(long) == 4 ? step : times,
       RrdFileBytes{1, one, static_cast<unsigned long>(1ULL << 40)}.Make()},
      {times, RrdFileBytes{1, {{"LAST", 3, 0}}}.Make()},
      {times, RrdFileBytes{1, {{"LAST", 3, ~0UL / 4}}, 2}.Make()},
      {times, RrdFileBytes{1, {{"LAST", 0, 1}}}.Make()},
      {update, RrdFileBytes{1, one, 60, -1}.Make()},
      {update, RrdFileBytes{1, one, 60, sizeof(long) == 8 ? FAR : -1}.Make()},
      {update, put(whole, {{MICROSECONDS, 1000000}})},
      {update, put(whole, {{MICROSECONDS, ~0UL}})},
      {"its version is unknown", RrdFileBytes{1, one, 60, LAST, "0006"}.Make()},
      {"the name of a consolidation function does not end",
       RrdFileBytes{1, {{"LASTLASTLASTLASTLAST", 3, 1}}}.Make()},
      {text, RrdFileBytes{1, one, 60, LAST, "0003", std::string(20, 'G')}.Make()},
      {text, fill(whole, sizeof(stat_head_t), DS_NAM_SIZE)},
      {text, fill(whole, LAST_READING, LAST_DS_LEN)},
      {formula, computed},
      {formula, put(computed, {{FORMULA, 0}})},   // without an end
      {formula, put(computed, {{FORMULA, 32}})},  // with nothing before its end
      {prediction, predicted},
      {formula, put(computed, {{FORMULA, 0xFFFF0001}, {FORMULA + 4, 32}})},  // of no data source
      {prediction, put(predicted, {{PREDICTED, 1}})},                        // from no archive
      {prediction, put(predicted, {{VIOLATIONS, 29}})},
      {prediction, RrdFileBytes{1, {{"SEASONAL", 1, 1}}}.Make()},
      {prediction, put(seasonal, {{SMOOTHING, 0x40000000}})},  // 2
      {prediction, put(seasonal, {{SMOOTHING, 0xBFF00000}})},  // -1
      {prediction,
       put(RrdFileBytes{1, {{"HWPREDICT", 3, 1}, {"LAST", 3, 1}}}.Make(), {{PREDICTED, 1}})},
      {prediction, put(RrdFileBytes{1, {{"HWPREDICT", 3, 1}, {std::string(20, 'M'), 3, 1}}}.Make(),
                       {{PREDICTED, 1}})},
      {"it is of another machine", put(whole, {{offsetof(stat_head_t, float_cookie), MANY}})},
      {tooMany, put(whole, {{SOURCES, MANY}})},
      {tooMany, put(whole, {{SOURCES, 2000}, {ARCHIVES, 2000}})},
      {"the newest row of an archive lies outside it",
       put(whole, {{whole.size() - 3 * sizeof(double) - sizeof(rra_ptr_t), 3}})},
      {"its values are cut off", whole.substr(0, whole.size() - 1)},
      {"its header is cut off", whole.substr(0, 500)},
  };
  // The operators beside those that read and write nothing else.
  for (const int operation : {3, 7, 33, 36, 37, 40, 43, 47, 49, 54, 68, 70}) {
    files.emplace_back(formula, put(computed, {{FORMULA, static_cast<unsigned long>(operation)},
                                               {FORMULA + 4, 32}}));
  }
  return files;
}

TEST_F(HostileFile, IsRefusedWithAReason) {
  const auto expectRefusal = [&](const std::string& reason) {
    SCOPED_TRACE(reason);
    LogCapture log(3);
    long long first = 7;
    long long last = 7;
    unsigned long step = 7;
    Rrd::FetchResult result;
    Rrd::FileDescription description;
    EXPECT_EQ(client.Describe(path, description), StatusCode::Failure);
    EXPECT_EQ(client.GetFirstTimestamp(path, 0, first), StatusCode::Failure);
    EXPECT_EQ(client.GetLastTimestamp(path, last), StatusCode::Failure);
    EXPECT_EQ(client.GetInterval(path, step), StatusCode::Failure);
    EXPECT_EQ(client.Fetch(path, LAST, LAST + 60, result), StatusCode::Failure);
    EXPECT_EQ(client.FetchRows(path, 0, 0, LAST, LAST + 60, result), StatusCode::Failure);
    EXPECT_EQ(client.Update(path, {{LAST + 600, 1}}), StatusCode::Failure);
    EXPECT_EQ(client.Migrate(path, 60, LAST, 0, 1, 5), StatusCode::Failure);
    EXPECT_EQ(Failure::IsLocked(), reason == "could not lock RRD");
    EXPECT_TRUE(first == -1 && last == -1 && step == 7);
    const Lines lines = log.Take();
    EXPECT_EQ(lines.size(), 8u);
    for (const std::string& line : lines) {
      EXPECT_NE(line.find("[" + reason + "]"), std::string::npos) << line;
    }
  };
  for (const auto& [reason, bytes] : ListRefusedFiles()) {
    WriteAnew(path, bytes);
    expectRefusal(reason);
  }
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

TEST_F(FileGate, AcceptsEveryFileThatTheRrdLibraryReads) {
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
  expectWhole(RrdFileBytes{1, {{"LAST", 3, 1}}, 60, 0}.Make());
  expectWhole(RrdFileBytes{}.Make() + std::string(8, '\0'));  // old files end with an unused word
  expectWhole(RrdFileBytes{400, {{"LAST", 3, 1}, {"MAX", 3, 1}}}.Make());
  // The first and the last operator of each range that a formula may have.
  for (const unsigned int operation :
       {0U, 2U, 4U, 6U, 8U, 31U, 34U, 35U, 38U, 39U, 44U, 46U, 50U, 53U, 69U}) {
    std::string computed = RrdFileBytes{1, {{"LAST", 3, 1}}, 60, LAST, "0003", "COMPUTE"}.Make();
    const std::uint32_t formula[] = {operation, 32};
    std::memcpy(&computed[FORMULA], formula, sizeof formula);
    expectWhole(computed);
    EXPECT_STREQ(Failure::GetReason(), "all its data sources are computed");
  }
  if (sizeof(long) == 8) {  // as on the machine that wrote them
    expectWhole(ReadFile(TEST_DATA "/fuzz/rrd/compute.rrd"));
    expectWhole(ReadFile(TEST_DATA "/fuzz/rrd/prediction.rrd"));
  }
}

TEST_F(HostileFile, IsFetchedFromTheArchiveThatIsExpected) {
  Random random;
  constexpr const char* FUNCTIONS[] = {"LAST", "LAST", "AVERAGE", "MIN", "MAX", "no function", ""};
  for (int i = 0; i < 400; ++i) {
    RrdFileBytes file{1, {}};
    for (auto count = random() % 4 + 1; count > 0; --count) {
      file.archives.push_back({random.Pick(FUNCTIONS), random.Below(9) + 1, random.Below(4) + 1});
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

TEST_F(HostileFile, LeavesNoErrorForTheNextFile) {
  const LogCapture log(0);
  WriteAnew(path, RrdFileBytes{}.Make());
  EXPECT_EQ(client.Migrate(directory.GetPath("none.rrd"), 60, LAST, 0, 1, 5), StatusCode::Failure);
  EXPECT_EQ(client.Update(path, {{LAST + 600, 1}}), StatusCode::Success);
}

TEST_F(HostileFile, IsNotFetchedIntoMoreMemoryThanItHas) {
  const LogCapture log(0);
  for (const char* function : {"LAST", "AVERAGE"}) {
    WriteAnew(path, RrdFileBytes{400, {{function, 1, 1}}, 1}.Make());
    Rrd::FetchResult result;
    EXPECT_EQ(client.Fetch(path, LAST - 40'000'000, LAST, result), StatusCode::Failure);
    EXPECT_EQ(client.Fetch(path, LAST - 3600, LAST, result), StatusCode::Success);
  }
}

}  // namespace
