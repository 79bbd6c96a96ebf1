// Atomic updates are interrupted by a kill at any store into the file, beside readers at any
// moment, or by a loss of power that leaves any of the unsynced pages. The file is then as before
// the batch or as after it, byte for byte. With NVX_STRESS=1 the proof is long.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <rrd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <set>

#include "support/child.h"
#include "support/files.h"
#include "support/interrupted_process.h"
#include "support/one_file.h"
#include "support/random.h"
#include "timeseries/host.h"

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

// Changes the differing bytes in place, so that the journal still belongs to the file.
void WriteBytes(const std::string& path, const std::string& bytes) {
  const std::string now = ReadFile(path);
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  for (std::size_t start = 0; start < bytes.size(); start += PAGE) {
    if (now.compare(std::min(start, now.size()), PAGE, bytes, start, PAGE) != 0) {
      const std::size_t size = std::min(PAGE, bytes.size() - start);
      ASSERT_EQ(pwrite(fd, bytes.data() + start, size, static_cast<off_t>(start)),
                static_cast<ssize_t>(size));
    }
  }
  ASSERT_EQ(ftruncate(fd, static_cast<off_t>(bytes.size())), 0);
  close(fd);
}

void UpdateByLibrary(const std::string& path, const Batch& batch) {
  ASSERT_EQ(RrdClient().Update(path, batch), StatusCode::Success);
}

// A full file of some shape, and the same file after one more batch.
class InterruptedUpdate : public OneFile, public testing::WithParamInterface<Shape> {
 protected:
  enum class State { Before, After, Torn };

  InterruptedUpdate() { nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None); }

  void Prepare(const Shape& shape, int batchSize) {
    constexpr int FILLED = 21000;
    std::vector<const char*> definitions = shape.definitions;
    ASSERT_EQ(rrd_create_r(path.c_str(), STEP, START - STEP, static_cast<int>(definitions.size()),
                           definitions.data()),
              0);
    UpdateByLibrary(path, MakeBatch(START, FILLED));
    // With it a journal is kept.
    ASSERT_EQ(client.UpdateAtomically(path, MakeBatch(START + FILLED * STEP, batchSize),
                                      Durability::Power),
              StatusCode::Success);
    batch = MakeBatch(START + (FILLED + batchSize) * STEP, batchSize);
    before = ReadFile(path);
    const std::string copy = directory.GetPath("copy.rrd");
    WriteBytes(copy, before);
    UpdateByLibrary(copy, batch);
    after = ReadFile(copy);
    ASSERT_NE(before, after);
  }

  void StoreBatch(Durability durability) const {
    (void)client.UpdateAtomically(path, batch, durability);
  }

  void Reset() const {
    WriteBytes(path, before);
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

  const std::string journal = path + "-journal";
  Batch batch;
  std::string before;
  std::string after;
};

TEST_P(InterruptedUpdate, AtAnyStoreIsUndone) {
  if (MACHINE_CAN_COUNT_STORES == 0) {
    GTEST_SKIP() << "stores cannot be counted";
  }
  Prepare(GetParam(), 60);
  const long long storeCount = CountStores([&] { StoreBatch(Durability::Process); });
  ASSERT_EQ(Query(), State::After);
  const int killCount = Choose(25, 2500);
  const int compared = Choose(5, 100);  // with an update without a journal
  int torn = 0;
  int tornWithoutJournal = 0;
  for (int i = 0; i < killCount; ++i) {
    const long long store = 1 + i * (storeCount - 1) / (killCount - 1);
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
  if (MACHINE_CAN_COUNT_STORES == 0) {
    GTEST_SKIP() << "stores cannot be counted";
  }
  Random random;
  Prepare(GetParam(), 60);
  const std::string keptJournal = ReadFile(journal);
  const long long storeCount = CountStores([&] { StoreBatch(Durability::Process); });
  std::vector<std::string> images = {before, after};
  std::string fullJournal;
  for (int i = 0; i < 6; ++i) {
    Reset();  // and into the middle of a batch
    ASSERT_TRUE(KillAtStore([&] { StoreBatch(Durability::Power); }, random.Between(1, storeCount)));
    images.push_back(ReadFile(path));
    fullJournal = ReadFile(journal);
  }
  Reset();
  StoreBatch(Durability::Power);
  const std::string idleJournal = ReadFile(journal);

  long states = 0;
  long wrong = 0;
  const auto expect = [&](const std::string& file, const std::string& journalBytes,
                          const std::set<State>& allowed) {
    WriteBytes(path, file);
    WriteBytes(journal, journalBytes);
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
  std::vector<std::size_t> changed;
  for (std::size_t start = 0; start < before.size(); start += PAGE) {
    if (before.compare(start, PAGE, after, start, PAGE) != 0) {
      changed.push_back(start);
    }
  }
  ASSERT_FALSE(changed.empty());
  if (changed.size() <= 12) {
    for (unsigned int subset = 0; subset < 1U << changed.size(); ++subset) {
      std::string file = before;
      for (std::size_t i = 0; i < changed.size(); ++i) {
        if ((subset >> i & 1U) == 1) {
          file.replace(changed[i], PAGE, after, changed[i], PAGE);
        }
      }
      expect(file, fullJournal, {State::Before});
    }
  }
  long wrongWithoutJournal = 0;
  for (int i = 0; i < Choose(150, 25000); ++i) {
    const std::string file = mix(images, before.size());
    expect(file, fullJournal, {State::Before});
    wrongWithoutJournal += file == before || file == after ? 0 : 1;
  }

  // The file was synced; then the journal.
  const std::size_t size = fullJournal.size();
  for (int i = 0; i < 4; ++i) {
    expect(after, mix({fullJournal, idleJournal}, size), {State::Before, State::After});
  }
  expect(after, fullJournal, {State::Before});
  expect(after, idleJournal, {State::After});
  std::cout << states << " states of " << changed.size() << " pages: " << wrong << " wrong, "
            << wrongWithoutJournal << " without a journal\n";
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(wrongWithoutJournal, 0);
}

struct Reads {
  std::atomic<bool> isOver;
  std::atomic<long> good;
  std::atomic<long> locked;
  std::atomic<long> wrong;
};

constexpr int RING = 500;
constexpr int BATCH_SIZE = 60;

double ValueOf(long long time) { return static_cast<double>(time % 100003); }

Batch MakeRingBatch(long long last, int count) {
  Batch batch;
  for (int i = 1; i <= count; ++i) {
    batch[last + i * STEP] = ValueOf(last + i * STEP);
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

void ReadUntilEnd(const std::string& path, Reads& reads) {
  const RrdClient client;
  while (!reads.isOver) {
    long long last = 0;
    Rrd::FetchResult rows;
    if (client.GetLastTimestamp(path, last) != StatusCode::Success ||
        client.Fetch(path, last - 2 * RING * STEP, last + 100 * RING * STEP, rows) !=
            StatusCode::Success) {
      ++reads.locked;
    } else if (IsBetweenBatches(rows)) {
      ++reads.good;
    } else {
      ++reads.wrong;
    }
  }
}

void WriteForever(const std::string& path) {
  const RrdClient client;
  while (true) {
    long long last = 0;
    if (client.GetLastTimestamp(path, last) == StatusCode::Success) {
      (void)client.UpdateAtomically(path, MakeRingBatch(last, BATCH_SIZE), Durability::Process);
    }
  }
}

TEST(KilledWriters, LeaveReadersAStateBetweenTwoBatches) {
  nvx::Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_x.rrd");
  EXPECT_EQ(RrdClient().Create(path, STEP, START, NAN, NAN, RING), StatusCode::Success);
  UpdateByLibrary(path, MakeRingBatch(START, 10 * BATCH_SIZE));
  auto& reads =
      *new (mmap(nullptr, sizeof(Reads), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
          Reads{};
  std::vector<pid_t> readers;
  for (int i = 0; i < 2; ++i) {
    readers.push_back(StartChild([&] {
      ReadUntilEnd(path, reads);
      return 0;
    }));
  }
  const int killCount = Choose(100, 6000);
  int kills = 0;
  bool isKilled = true;
  Random random;
  // More of them where the readers are slow.
  for (; isKilled && (kills < killCount || reads.good <= killCount) && kills < 100 * killCount;
       ++kills) {
    const long long pause = random.Between(500, IsLong() ? 200000 : 9000);
    try {
      isKilled = KillAfter([&] { WriteForever(path); }, pause);
    } catch (const std::exception& crash) {
      isKilled = false;
      ADD_FAILURE() << crash.what();
    }
  }
  reads.isOver = true;
  for (const pid_t reader : readers) {
    EXPECT_EQ(WaitFor(reader), 0);
  }
  std::cout << kills << " kills; reads: " << reads.good << " right, " << reads.locked
            << " refused, " << reads.wrong << " wrong\n";
  EXPECT_TRUE(isKilled);
  EXPECT_EQ(reads.wrong, 0);
  EXPECT_GT(reads.good, killCount);
}

INSTANTIATE_TEST_SUITE_P(Shapes, InterruptedUpdate, testing::ValuesIn(SHAPES),
                         [](const auto& shape) { return shape.param.name; });

}  // namespace
