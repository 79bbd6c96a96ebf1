// Atomic updates are interrupted by a kill at any store into the file or at any moment, or by a
// loss of power that leaves any of the unsynced pages. The file is then as before the batch or as
// after it, byte for byte. With NVX_STRESS=1 the proof is long.

#include <gtest/gtest.h>
#include <rrd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <set>

#include "support/interrupted_process.h"
#include "support/legacy_file.h"
#include "support/random.h"
#include "support/temporary_directory.h"
#include "timeseries/host.h"
#include "timeseries/rrd_client.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

using Batch = std::map<long long, double>;
using Rrd::Durability;

constexpr long long START = 1700000040;  // a multiple of 60
constexpr long long STEP = 60;
constexpr std::size_t PAGE = 4096;

struct Shape {
  const char* name;
  std::vector<const char*> definitions;
};

const Shape SHAPES[] = {
    {"Gauge", {"DS:element:GAUGE:120:U:U", "RRA:LAST:0.99999:1:20000"}},
    {"Consolidated",
     {"DS:element:GAUGE:300:U:U", "DS:half:COMPUTE:element,2,/", "RRA:AVERAGE:0.5:1:400",
      "RRA:AVERAGE:0.5:5:700", "RRA:MAX:0.5:12:600", "RRA:MIN:0.5:60:500", "RRA:LAST:0.5:1:900"}},
    {"ShorterThanTheBatch",
     {"DS:element:DDERIVE:300:U:U", "RRA:LAST:0.5:1:40", "RRA:AVERAGE:0.5:2:17"}},
    {"Prediction",
     {"DS:element:GAUGE:300:U:U", "RRA:AVERAGE:0.5:1:200", "RRA:HWPREDICT:300:0.1:0.0035:24"}},
};

std::string ShapeName(const testing::TestParamInfo<Shape>& shape) { return shape.param.name; }

bool IsLong() { return std::getenv("NVX_STRESS") != nullptr; }

// The number of repetitions, in the short proof and in the long one.
int Choose(int usual, int longer) { return IsLong() ? longer : IS_SLOW != 0 ? usual / 10 : usual; }

// Samples between the steps, some of them missing.
Batch MakeBatch(long long start, int count) {
  Batch batch;
  for (int i = 0; i < count; ++i) {
    batch[start + i * STEP + 20] = i % 17 == 3 ? NAN : std::sin(i / 9.0) + static_cast<double>(i);
  }
  return batch;
}

// A full file of some shape, and the same file after one more batch.
class InterruptedUpdate : public testing::TestWithParam<Shape> {
 protected:
  enum class State { Before, After, Torn };

  InterruptedUpdate() { nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None); }

  void SetUp() override {
    if (MACHINE_CAN_COUNT_STORES == 0) {
      GTEST_SKIP() << "stores cannot be counted";
    }
    constexpr int FILLED = 21000;
    constexpr int BATCH_SIZE = 60;
    std::vector<const char*> definitions = GetParam().definitions;
    ASSERT_EQ(rrd_create_r(path.c_str(), STEP, START - STEP, static_cast<int>(definitions.size()),
                           definitions.data()),
              0);
    ASSERT_EQ(client.Update(path, MakeBatch(START, FILLED)), StatusCode::Success);
    // With it a journal is kept.
    batch = MakeBatch(START + FILLED * STEP, BATCH_SIZE);
    ASSERT_EQ(client.UpdateAtomically(path, batch, Durability::Power), StatusCode::Success);
    before = ReadFile(path);
    const std::string copy = directory.GetPath("copy.rrd");
    WriteFile(copy, before);
    batch = MakeBatch(START + (FILLED + BATCH_SIZE) * STEP, BATCH_SIZE);
    ASSERT_EQ(client.Update(copy, batch), StatusCode::Success);
    after = ReadFile(copy);
    ASSERT_NE(before, after);
  }

  void StoreBatch(Durability durability) const {
    (void)client.UpdateAtomically(path, batch, durability);
  }

  void Reset() const {
    WriteFile(path, before);
    unlink(journal.c_str());
  }

  // What the next query finds.
  State Query() const {
    long long last = 0;
    if (client.GetLastTimestamp(path, last) != StatusCode::Success) {
      return State::Torn;
    }
    const std::string now = ReadFile(path);
    return now == before ? State::Before : now == after ? State::After : State::Torn;
  }

  // The file and its journal in the middle of a batch.
  std::string KillWithJournal(long store) const {
    Reset();
    EXPECT_TRUE(KillAtStore([&] { StoreBatch(Durability::Power); }, store));
    return ReadFile(path);
  }

  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_x.rrd");
  const std::string journal = path + "-journal";
  const RrdClient client;
  Batch batch;
  std::string before;
  std::string after;
};

TEST_P(InterruptedUpdate, AtAnyStoreIsUndone) {
  const long storeCount = CountStores([&] { StoreBatch(Durability::Process); });
  ASSERT_EQ(Query(), State::After);
  const int killCount = Choose(25, 2500);
  const int compared = Choose(5, 100);  // with an update without a journal
  int torn = 0;
  int tornWithoutJournal = 0;
  for (int i = 0; i < killCount; ++i) {
    const long store = 1 + i * (storeCount - 1) / (killCount - 1);
    const auto durability = i % 8 == 0 ? Durability::Power : Durability::Process;
    Reset();
    ASSERT_TRUE(KillAtStore([&] { StoreBatch(durability); }, store)) << store;
    torn += Query() == State::Before ? 0 : 1;
    ASSERT_NE(access(journal.c_str(), F_OK), 0);
    if (i % (killCount / compared) == 1) {
      Reset();
      ASSERT_TRUE(KillAtStore([&] { (void)client.Update(path, batch); }, store)) << store;
      tornWithoutJournal += Query() == State::Torn ? 1 : 0;
    }
  }
  std::cout << killCount << " kills at " << storeCount << " stores: " << torn << " wrong, "
            << tornWithoutJournal << " without a journal\n";
  EXPECT_EQ(torn, 0);
  EXPECT_GT(tornWithoutJournal, compared / 2);
}

TEST_P(InterruptedUpdate, ByALossOfPowerIsUndone) {
  Random random;
  const std::string keptJournal = ReadFile(journal);
  const long storeCount = CountStores([&] { StoreBatch(Durability::Process); });
  std::vector<std::string> images = {before, after};
  std::string fullJournal;
  for (int i = 0; i < 6; ++i) {
    images.push_back(KillWithJournal(random.Between(1, storeCount)));
    fullJournal = ReadFile(journal);
  }
  Reset();
  StoreBatch(Durability::Power);
  const std::string idleJournal = ReadFile(journal);

  long states = 0;
  long wrong = 0;
  const auto expect = [&](const std::string& file, const std::string& journalBytes,
                          const std::set<State>& allowed) {
    WriteFile(path, file);
    WriteFile(journal, journalBytes);
    ++states;
    wrong += allowed.count(Query()) == 1 ? 0 : 1;
  };
  const auto mix = [&](const std::vector<std::string>& sources, std::size_t size) {
    std::string mixed;
    for (std::size_t start = 0; start < size; start += PAGE) {
      const std::string& source = random.Pick(sources);
      mixed += source.substr(std::min(start, source.size()), std::min(PAGE, size - start));
    }
    return mixed;
  };

  // The journal is being written, over the kept one or as a new file.
  const std::size_t cutStep = IsLong() ? 1 : fullJournal.size() / 40 + 1;
  for (std::size_t size = 0; size < fullJournal.size(); size += cutStep) {
    expect(before, fullJournal.substr(0, size), {State::Before});
  }
  for (int i = 0; i < Choose(40, 2000); ++i) {
    const std::size_t size = std::max(fullJournal.size(), keptJournal.size());
    expect(before, mix({keptJournal, fullJournal, std::string(size, '\0')}, size), {State::Before});
  }

  // After the call, every page of the file is old, new, or from any moment in between.
  for (int i = 0; i < Choose(150, 25000); ++i) {
    expect(mix(images, before.size()), fullJournal, {State::Before});
  }

  // The file was synced; then the journal.
  const std::size_t size = fullJournal.size();
  for (int i = 0; i < 4; ++i) {
    expect(after, mix({fullJournal, idleJournal}, size), {State::Before, State::After});
  }
  expect(after, fullJournal, {State::Before});
  expect(after, idleJournal, {State::After});
  std::cout << states << " states: " << wrong << " wrong\n";
  EXPECT_EQ(wrong, 0);
}

constexpr int RING = 500;
constexpr int BATCH_SIZE = 60;

double ValueOf(long long time) { return static_cast<double>(time % 100003); }

Batch MakeRamp(long long last, int count) {
  Batch batch;
  for (long long time = last + STEP; time <= last + count * STEP; time += STEP) {
    batch[time] = ValueOf(time);
  }
  return batch;
}

// Whole batches, and all of the ring.
bool IsBetweenBatches(const Rrd::FetchResult& rows) {
  int count = 0;
  long long newest = 0;
  for (unsigned int i = 0; i < rows.GetSampleCount(); ++i) {
    const long long time = rows.GetStartTime() + i * STEP;
    const double value = rows.GetData()[i];
    if (!std::isnan(value)) {
      if (value != ValueOf(time) || (count > 0 && newest != time - STEP)) {
        return false;
      }
      newest = time;
      ++count;
    }
  }
  return count == RING && (newest - START) / STEP % BATCH_SIZE == 0;
}

// Reads until `end` is there. False when a read was wrong, or fewer than `least` were possible.
bool AreReadsRight(const std::string& path, const std::string& end, int least) {
  const RrdClient client;
  int count = 0;
  while (access(end.c_str(), F_OK) != 0) {
    long long last = 0;
    Rrd::FetchResult rows;
    if (client.GetLastTimestamp(path, last) == StatusCode::Success &&
        client.Fetch(path, last - 2 * RING * STEP, last + 100 * RING * STEP, rows) ==
            StatusCode::Success) {
      if (!IsBetweenBatches(rows)) {
        return false;
      }
      ++count;
    }
  }
  return count >= least;
}

void WriteForever(const std::string& path, bool isAtomic) {
  const RrdClient client;
  for (int i = 0;; ++i) {
    long long last = 0;
    if (client.GetLastTimestamp(path, last) == StatusCode::Success) {
      const Batch batch = MakeRamp(last, BATCH_SIZE);
      (void)(isAtomic ? client.UpdateAtomically(path, batch, Durability::Process)
                      : client.Update(path, batch));
    }
  }
}

// Kills a writer again and again, beside two readers. Returns how many of these read wrongly.
int CountWrongReaders(int killCount, bool isAtomic) {
  nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_x.rrd");
  const std::string end = directory.GetPath("end");
  const RrdClient client;
  EXPECT_EQ(client.Create(path, STEP, START, NAN, NAN, RING), StatusCode::Success);
  EXPECT_EQ(client.Update(path, MakeRamp(START, 10 * BATCH_SIZE)), StatusCode::Success);
  std::vector<pid_t> readers(2);
  for (pid_t& reader : readers) {
    reader = fork();
    if (reader == 0) {
      _exit(AreReadsRight(path, end, isAtomic ? killCount / 2 : 0) ? 0 : 1);
    }
  }
  Random random;
  for (int i = 0; i < killCount; ++i) {
    const long pause = random.Between(500, IsLong() ? 200000 : 9000);
    EXPECT_TRUE(KillAfter([&] { WriteForever(path, isAtomic); }, pause));
  }
  WriteFile(end, "");
  int wrong = 0;
  for (const pid_t reader : readers) {
    int status = 0;
    EXPECT_EQ(waitpid(reader, &status, 0), reader);
    wrong += status == 0 ? 0 : 1;
  }
  return wrong;
}

TEST(KilledWriters, LeaveReadersAStateBetweenTwoBatches) {
  EXPECT_EQ(CountWrongReaders(Choose(100, 6000), true), 0);
  if (IsLong()) {
    EXPECT_GT(CountWrongReaders(300, false), 0);  // without a journal
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, InterruptedUpdate, testing::ValuesIn(SHAPES), ShapeName);

}  // namespace
