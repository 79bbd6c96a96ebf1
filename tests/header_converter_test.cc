#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <thread>

#include "support/changed_bytes.h"
#include "support/legacy_file.h"
#include "support/log_capture.h"
#include "support/memory_limit.h"
#include "support/resource_limit.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/failure.h"
#include "timeseries/rrd/tool/header_converter.h"
#include "timeseries/rrd/tool/sanitizer.h"

namespace fs = std::filesystem;
using nvx::TimeSeriesDatabase::Failure;
using nvx::TimeSeriesDatabase::Rrd::Tool::HeaderConverter;
using nvx::TimeSeriesDatabase::Rrd::Tool::Sanitizer;

namespace {

// A temporary path, which would be gone before the conversion, does not compile.
static_assert(!std::is_constructible_v<HeaderConverter, std::string, const std::string&> &&
              !std::is_constructible_v<HeaderConverter, const std::string&, std::string>);

const std::string COMPONENT = "[TimeSeriesDatabase::Rrd::Tool::HeaderConverter]";

// Its directory is the current one, so that its files have short names.
class SanitizerTest : public ::testing::Test {
 protected:
  SanitizerTest() {
    fs::current_path(directory.GetPath());
    // A large block comes from the system and returns to it, so that none is left for later
    // allocations.
    mallopt(M_MMAP_THRESHOLD, 1 << 14);
    mallopt(M_ARENA_MAX, 1);
  }

  int Convert(const std::string& source, const std::string& destination) {
    return static_cast<int>(sanitizer.Convert(source, destination));
  }

  // A conversion and a check of the source give the same result, and no file is made.
  void ExpectRefused(int code, const std::string& text) {
    const std::string error = "3" + COMPONENT + " " + text;
    EXPECT_EQ(Convert("source", "new"), code);
    EXPECT_EQ(static_cast<int>(sanitizer.Check("source")), code);
    EXPECT_EQ(log.Take(), (Lines{error, error}));
    const std::string reason = Failure::GetReason();  // without the error of a read cut short
    EXPECT_TRUE(text.find(": " + reason) != std::string::npos) << reason;
    EXPECT_EQ(reason.find(": Success"), std::string::npos) << reason;
    EXPECT_FALSE(fs::exists("new"));
  }

  TemporaryDirectory directory;
  Sanitizer sanitizer;
  LogCapture log{3};
};

// The calls of read and of write by this thread so far.
std::pair<long long, long long> CountCalls() {
  std::ifstream file("/proc/thread-self/io");
  std::string name;
  long long reads = 0;
  long long writes = 0;
  file >> name >> reads >> name >> writes;  // bytes, which the calls overwrite
  file >> name >> reads >> name >> writes;
  return {reads, writes};
}

TEST_F(SanitizerTest, ConvertsEveryShapeInPiecesOf64KiB) {
  const int otherReads = 4;  // three of the header, one of CountCalls
  ForEachRow("conversion_shapes.txt", [&](const Row& row) {
    std::istringstream rowCounts(row["rows of each archive"]);
    const LegacyFile file(row.GetNumber<std::uint32_t>("data sources"),
                          {std::istream_iterator<std::uint32_t>(rowCounts), {}});
    WriteFile("source", file.legacy);
    const auto before = CountCalls();
    EXPECT_EQ(Convert("source", "new"), 0);
    const auto after = CountCalls();
    EXPECT_TRUE(ReadFile("new") == file.converted);
    if (IS_SANITIZED == 0) {  // a sanitizer has system calls and memory of its own
      const int pieces = row.GetNumber("pieces");
      EXPECT_EQ(after.first - before.first, otherReads + pieces);
      EXPECT_EQ(after.second - before.second, 1 + pieces);
    }
  });
}

TEST_F(SanitizerTest, RefusesAnythingButWholeLegacyFiles) {
  ForEachRow("refused_conversions.txt", [this](const Row& row) {
    const std::string file = ReadFile(TEST_DATA "/legacy/" + row["file"] + ".rrd");
    const std::string content = Change(file, row["changes"]);
    WriteFile("source", content);
    ExpectRefused(row.GetNumber("code"), row["error"]);
    EXPECT_TRUE(ReadFile("source") == content);
  });
  WriteFile("source", ReadLegacy("gauge"));
  fs::resize_file("source", (1ull << 32) - 1);
  ExpectRefused(28,
                "ComputeAndCheckHeaderSize: Failed to read RRD file: expected 4294967295 but got "
                "8556 bytes (556 + 8000)");
  fs::resize_file("source", (1ull << 32) + 8556);
  ExpectRefused(28, "CheckLimits: RRD file of 4294975852 bytes is too large to convert");
}

TEST_F(SanitizerTest, ReportsEveryFaultOfTheMachine) {
  const bool isMemoryLimitable = IsMemoryLimitable();
  std::signal(SIGXFSZ, SIG_IGN);
  const std::string gauge = ReadLegacy("gauge");
  WriteFile("gauge", gauge);
  WriteFile("never-updated", ReadLegacy("never-updated"));
  WriteFile("many-archives", Change(gauge, "28=200000 size=39200360"));
  WriteFile("many-sources", Change(gauge, "24=200000 28=0 size=46400128"));
  fs::create_hard_link("gauge", "hard");
  fs::create_symlink("gauge", "symbolic");
  fs::create_symlink("/dev/full", "full");
  ASSERT_EQ(mkfifo("fifo", 0600), 0);
  const int fifo = open("fifo", O_RDWR);  // so that no other open of it waits
  ForEachRow("conversion_faults.txt", [&](const Row& row) {
    const auto memory = row.GetNumber<rlim_t>("MiB of memory");
    if (!isMemoryLimitable && memory < 1000) {
      return;
    }
    fs::remove("new");
    malloc_trim(1 << 14);  // some KiB stay for small objects
    {
      const ResourceLimit sizeLimit(RLIMIT_FSIZE, row.GetNumber<rlim_t>("largest file"));
      const ResourceLimit memoryLimit(RLIMIT_AS, GetMemorySize() + (memory << 20));
      EXPECT_EQ(Convert(row["source"], row["destination"]), row.GetNumber("code"));
    }
    EXPECT_EQ(log.Take(), Lines{"3" + COMPONENT + " " + row["error"]});
    const std::string left = ReadFile("new");
    EXPECT_EQ(fs::exists("new") ? std::to_string(left.size()) : "no file", row["bytes in new"]);
    EXPECT_TRUE(left == ReadConverted(row["source"]).substr(0, left.size()));
    EXPECT_TRUE(ReadFile("gauge") == gauge);
  });
  EXPECT_TRUE(ReadFile("never-updated") == ReadLegacy("never-updated"));
  close(fifo);
  if (!isMemoryLimitable) {
    GTEST_SKIP() << "what happens without memory, for it cannot be limited here";
  }
}

TEST_F(SanitizerTest, NoticesASourceThatShrinksWhileItIsRead) {
  WriteFile("source", LegacyFile(1, {1 << 18}).legacy);
  ASSERT_EQ(mkfifo("fifo", 0600), 0);
  // A pipe holds fewer bytes than the file, so the converter waits for the reader.
  std::thread reader([] {
    std::ifstream pipe("fifo", std::ios::binary);
    pipe.get();
    fs::resize_file("source", 1000);
    pipe.ignore(1 << 22);
  });
  EXPECT_EQ(Convert("source", "fifo"), 28);
  reader.join();
  EXPECT_EQ(log.Take(), Lines{"3" + COMPONENT + " CopyData: Failed to read data block"});
}

}  // namespace
