#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "support/legacy_file.h"
#include "support/run_program.h"
#include "support/temporary_directory.h"

namespace fs = std::filesystem;

namespace {

constexpr int FILE_COUNT = 24;

std::string GetName(int i) { return LEGACY_NAMES[i % 4]; }
std::string GetPath(int i) { return std::to_string(i % 3) + "/" + std::to_string(i) + ".rrd"; }

void MakeTree() {
  for (int i = 0; i < FILE_COUNT; ++i) {
    fs::create_directory(fs::path(GetPath(i)).parent_path());
    WriteFile(GetPath(i), ReadLegacy(GetName(i)));
    fs::remove(GetPath(i) + ".old");
  }
}

// How many files are old still. All others are new and have their backups.
int CountOld() {
  int count = 0;
  for (int i = 0; i < FILE_COUNT; ++i) {
    const std::string content = ReadFile(GetPath(i));
    const std::string legacy = ReadLegacy(GetName(i));
    const bool isNew =
        content == ReadConverted(GetName(i)) && ReadFile(GetPath(i) + ".old") == legacy;
    EXPECT_TRUE(isNew || content == legacy) << GetPath(i);
    count += isNew ? 0 : 1;
  }
  return count;
}

std::ptrdiff_t CountEntries() {
  return std::distance(fs::recursive_directory_iterator("."), fs::recursive_directory_iterator());
}

// Converts the tree, under another command if need be.
int Convert(std::vector<std::string> command = {}) {
  command.insert(command.end(), {NVX_TIMESERIES, "convert", "--in-place", "--backup", ".old", "."});
  return RunProgram(command).status;
}

TEST(ConvertCommand, KilledLeavesEveryPathOldOrNewAndTheNextRunCleansUp) {
  constexpr int KILL_COUNT = 25;
  const TemporaryDirectory directory;
  fs::current_path(directory.GetPath());
  MakeTree();
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(Convert(), 0);
  const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
  int interruptedCount = 0;
  for (int i = 1; i <= KILL_COUNT; ++i) {
    MakeTree();
    Convert({"timeout", "-s", "KILL", std::to_string(duration.count() * i / KILL_COUNT)});
    const int oldCount = CountOld();
    interruptedCount += oldCount > 0 && oldCount < FILE_COUNT ? 1 : 0;
    EXPECT_EQ(Convert(), 0);
    EXPECT_EQ(CountOld(), 0);
    EXPECT_EQ(CountEntries(), 3 + 2 * FILE_COUNT);
  }
  EXPECT_GT(interruptedCount, 0);
}

}  // namespace
