#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>

#include "support/file_size_limit.h"
#include "support/legacy_file.h"
#include "support/log_capture.h"
#include "support/temporary_directory.h"
#include "timeseries/rrd/tool/header_converter.h"
#include "timeseries/rrd/tool/sanitizer.h"

using nv::kora::StatusCode;
using nvx::TimeSeriesDatabase::Rrd::Tool::Sanitizer;

namespace {

const std::string LEGACY = TEST_DATA "/legacy/";
constexpr StatusCode INVALID = StatusCode::InvalidArgument;

using Lines = std::vector<std::string>;

// Keeps only what the errors say: "Operation: text".
Lines TakeErrors(LogCapture& log) {
  const std::string start = "3[TimeSeriesDatabase::Rrd::Tool::HeaderConverter] ";
  Lines errors;
  for (const std::string& line : log.Take()) {
    if (line.compare(0, start.size(), start) == 0) {
      errors.push_back(line.substr(start.size()));
    }
  }
  return errors;
}

// Two files of a new directory.
class SanitizerTest : public ::testing::Test {
 protected:
  StatusCode Convert() { return sanitizer.Convert(source, destination); }

  // Converts `content` and expects one error line and no destination.
  void ExpectRefused(const std::string& content, const std::string& error,
                     StatusCode status = INVALID) {
    SCOPED_TRACE(error);
    WriteFile(source, content);
    EXPECT_EQ(Convert(), status);
    EXPECT_EQ(TakeErrors(log), Lines{error});
    EXPECT_FALSE(std::filesystem::exists(destination));
    EXPECT_EQ(sanitizer.Check(source), status);
    EXPECT_EQ(TakeErrors(log), Lines{error});
    EXPECT_EQ(ReadFile(source), content);
  }

  TemporaryDirectory directory;
  std::string source = directory.GetPath("source.rrd");
  std::string destination = directory.GetPath("destination.rrd");
  std::string gauge = ReadFile(LEGACY + "gauge.legacy.rrd");
  Sanitizer sanitizer;
  LogCapture log;
};

class SanitizerPairTest : public SanitizerTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(SanitizerPairTest, ConvertsToEqualBytesOnce) {
  const std::string name = LEGACY + GetParam();
  const std::string legacy = name + ".legacy.rrd";
  WriteFile(destination, std::string(1 << 20, 'x'));
  EXPECT_EQ(sanitizer.Convert(legacy, destination), StatusCode::Success);
  EXPECT_TRUE(ReadFile(destination) == ReadFile(name + ".converted.rrd"));
  const std::string component = "7[TimeSeriesDatabase::Rrd::Tool::HeaderConverter][trace] ";
  const std::string size = std::to_string(std::filesystem::file_size(legacy));
  EXPECT_EQ(
      log.Take(),
      (Lines{component + "Convert: Converting RRD file '" + legacy + "' to '" + destination + "'",
             component + "OpenFile: File size of '" + legacy + "' is " + size + " bytes",
             component + "Convert: '" + legacy + "' successfully converted to '" + destination +
                 "'"}));
  std::filesystem::remove(destination);
  ExpectRefused(ReadFile(name + ".converted.rrd"),
                "ComputeAndCheckHeaderSize: RRD file is already in 64-bit time_t format, no "
                "conversion needed.",
                StatusCode::NothingToDo);
}

INSTANTIATE_TEST_SUITE_P(Files, SanitizerPairTest,
                         ::testing::Values("gauge", "two-sources", "daily-many", "never-updated"));

TEST_F(SanitizerTest, ConvertsEveryShape) {
  const std::vector<std::pair<std::uint32_t, std::vector<std::uint32_t>>> shapes = {
      {1, {}},
      {0, {}},
      {0, {0xffffffff, 0xffffffff}},
      {1, {0}},
      {7, {1440, 288, 1440, 1440, 288}},
      {1, {8192}},
      {1, {8192, 8192}},
      {1, {16384, 1}},
      {40, {70000, 3}}};
  for (const auto& [dsCount, rowCounts] : shapes) {
    const LegacyFile file(dsCount, rowCounts);
    WriteFile(source, file.legacy);
    EXPECT_EQ(Convert(), StatusCode::Success);
    EXPECT_TRUE(ReadFile(destination) == file.converted) << dsCount << ' ' << rowCounts.size();
  }
}

// The reads and writes of this thread so far.
std::pair<int, int> CountCalls() {
  std::ifstream file("/proc/thread-self/io");
  std::map<std::string, int> counts;
  for (std::string name; file >> name;) {
    file >> counts[name];
  }
  return {counts["syscr:"], counts["syscw:"]};
}

TEST_F(SanitizerTest, CopiesInPiecesOf64KiB) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizers make calls of their own";
#endif
  const int otherReads = 5;  // three of the header, two of CountCalls
  for (const auto& [rowCount, pieces] : {std::pair<std::uint32_t, int>{0, 0},
                                         {1, 1},
                                         {8192, 1},
                                         {8193, 2},
                                         {16384, 2},
                                         {16385, 3}}) {
    WriteFile(source, LegacyFile(1, {rowCount}).legacy);
    const auto before = CountCalls();
    EXPECT_EQ(Convert(), StatusCode::Success);
    const auto after = CountCalls();
    EXPECT_EQ(after.first - before.first, otherReads + pieces) << rowCount;
    EXPECT_EQ(after.second - before.second, 1 + pieces) << rowCount;
  }
}

TEST_F(SanitizerTest, RefusesWhatIsNoWholeLegacyFile) {
  const auto with = [this](std::size_t offset, const std::string& bytes) {
    return std::string(gauge).replace(offset, bytes.size(), bytes);
  };
  const std::string size = "ComputeAndCheckHeaderSize: Failed to read RRD file: expected ";
  ExpectRefused("", "GetRrdFileLayout: Failed to read stat_head: Success");
  ExpectRefused(gauge.substr(0, 119), "GetRrdFileLayout: Failed to read stat_head: Success");
  ExpectRefused(std::string(120, 'x'), "GetRrdFileLayout: Not an RRD file (bad cookie)");
  ExpectRefused(with(2, "d"), "GetRrdFileLayout: Not an RRD file (bad cookie)");
  ExpectRefused(with(4, "0001"), "GetRrdFileLayout: Unsupported RRD version: 0001");
  ExpectRefused(with(4, "0004"), "GetRrdFileLayout: Unsupported RRD version: 0004");
  ExpectRefused(with(4, "00055678"), "GetRrdFileLayout: Unsupported RRD version: 00055");
  ExpectRefused(gauge.substr(0, 351),
                "ReadRraDefAndComputeDataSize: Failed to read rraDef: Success");
  ExpectRefused(gauge.substr(0, 8555), size + "8555 but got 8556 bytes (556 + 8000)");
  ExpectRefused(gauge + "x", size + "8557 but got 8556 bytes (556 + 8000)");
  ExpectRefused(gauge + "123456789", size + "8565 but got 8556 bytes (556 + 8000)");
}

TEST_F(SanitizerTest, RefusesHostileCounts) {
  constexpr std::uint32_t MAXIMUM = 0xffffffff;
  constexpr std::uint32_t WRAPPED = 35791394;  // 120 times it are 16 in 32 bits
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> tooLarge = {
      {1, 1u << 28}, {MAXIMUM, MAXIMUM},   {MAXIMUM, 0},
      {0, MAXIMUM},  {1u << 16, 1u << 16}, {WRAPPED, 0}};
  for (const auto& [dsCount, rraCount] : tooLarge) {
    ExpectRefused(MakeStatHead(dsCount, rraCount) + std::string(904, '\0'),
                  "CheckLimits: Header size of " + std::to_string(dsCount) + " data sources and " +
                      std::to_string(rraCount) + " archives exceeds 32 bits");
  }
  for (const auto& [dsCount, rraCount] : {std::pair(1u, 1u << 24), {1u << 20, 1u}}) {
    ExpectRefused(MakeStatHead(dsCount, rraCount) + std::string(904, '\0'),
                  "ReadRraDefAndComputeDataSize: Failed to read rraDef: Success");
  }
}

TEST_F(SanitizerTest, RefusesRowsThatDoNotFit32Bits) {
  const auto dataSize = [](const std::string& counts) {
    return "ReadRraDefAndComputeDataSize: Data size of " + counts + " rows exceeds 32 bits";
  };
  Put32(gauge, 260, (1u << 29) + 1000);  // its size wraps to the right one
  ExpectRefused(gauge, dataSize("1 data sources and 536871912"));
  std::string two = ReadFile(LEGACY + "two-sources.legacy.rrd");
  for (std::size_t rra = 0; rra < 3; ++rra) {
    Put32(two, 360 + 112 * rra + 20, 0xffffffff);
  }
  ExpectRefused(two, dataSize("2 data sources and 12884901885"));
  Put32(gauge, 260, (1u << 29) - 1);  // the data size fits, the file size does not
  ExpectRefused(gauge,
                "ComputeAndCheckHeaderSize: Failed to read RRD file: expected 8556 but got "
                "4294967844 bytes (556 + 4294967288)");
}

TEST_F(SanitizerTest, RefusesFourGigabytes) {
  WriteFile(source, gauge);
  std::filesystem::resize_file(source, (1ull << 32) + gauge.size());
  EXPECT_EQ(Convert(), INVALID);
  EXPECT_EQ(TakeErrors(log),
            Lines{"CheckLimits: RRD file of 4294975852 bytes is too large to convert"});
  EXPECT_FALSE(std::filesystem::exists(destination));
}

TEST_F(SanitizerTest, TellsWhyASourceCannotBeRead) {
  EXPECT_EQ(Convert(), StatusCode::CannotOpen);
  EXPECT_EQ(TakeErrors(log),
            Lines{"OpenFile: Cannot open '" + source + "': No such file or directory"});
  int pipeFds[2];
  ASSERT_EQ(pipe(pipeFds), 0);
  const std::string pipePath = "/proc/self/fd/" + std::to_string(pipeFds[0]);
  EXPECT_EQ(sanitizer.Convert(pipePath, destination), INVALID);
  EXPECT_EQ(TakeErrors(log),
            Lines{"OpenFile: Cannot seek to end of '" + pipePath + "': Illegal seek"});
  close(pipeFds[0]);
  close(pipeFds[1]);
  EXPECT_EQ(sanitizer.Convert("/sys/kernel", destination), INVALID);
  EXPECT_EQ(TakeErrors(log), Lines{"GetRrdFileLayout: Failed to read stat_head: Is a directory"});
  EXPECT_FALSE(std::filesystem::exists(destination));
}

TEST_F(SanitizerTest, RefusesTheSourceAsDestination) {
  WriteFile(source, gauge);
  std::filesystem::create_hard_link(source, directory.GetPath("hard"));
  std::filesystem::create_symlink("source.rrd", directory.GetPath("symbolic"));
  for (const char* name : {"source.rrd", "hard", "symbolic", "./source.rrd"}) {
    destination = directory.GetPath(name);
    EXPECT_EQ(Convert(), INVALID);
    EXPECT_EQ(TakeErrors(log), Lines{"CreateNewRrdFile: '" + source + "' and '" + destination +
                                     "' are the same file"});
    EXPECT_EQ(ReadFile(source), gauge);
  }
}

TEST_F(SanitizerTest, TellsWhyADestinationCannotBeWritten) {
  WriteFile(source, gauge);
  const std::vector<std::pair<std::string, std::string>> faults = {
      {directory.GetPath("none/x"), "CreateNewRrdFile: Cannot open %: No such file or directory"},
      {directory.GetPath(), "CreateNewRrdFile: Cannot open %: Is a directory"},
      {"/dev/full", "Write: Cannot write in %: No space left on device"},
      {"/dev/null", "CopyData: Failed to sync output file %: Invalid argument"},
  };
  for (const auto& [path, error] : faults) {
    EXPECT_EQ(sanitizer.Convert(source, path), StatusCode::IoError);
    EXPECT_EQ(TakeErrors(log), Lines{std::string(error).replace(error.find('%'), 1, path)});
  }
}

TEST_F(SanitizerTest, LeavesWhatWasWrittenBeforeAFault) {
  const LegacyFile file(1, {16384});
  WriteFile(source, file.legacy);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const auto& [limit, reason] : std::map<rlim_t, std::string>{
           {100, "Success"}, {564, "File too large"}, {564 + 65536 + 10, "Success"}}) {
    const FileSizeLimit fileSizeLimit(limit);
    EXPECT_EQ(Convert(), StatusCode::IoError);
    EXPECT_EQ(TakeErrors(log), Lines{"Write: Cannot write in " + destination + ": " + reason});
    EXPECT_TRUE(ReadFile(destination) == file.converted.substr(0, limit)) << limit;
  }
  EXPECT_TRUE(ReadFile(source) == file.legacy);
}

TEST_F(SanitizerTest, NoticesASourceThatShrinksWhileItIsRead) {
  WriteFile(source, LegacyFile(1, {1 << 18}).legacy);
  ASSERT_EQ(mkfifo(destination.c_str(), 0600), 0);
  // A pipe holds fewer bytes than the file, so the converter waits for the reader.
  const pid_t reader = fork();
  if (reader == 0) {
    std::ifstream pipe(destination, std::ios::binary);
    pipe.get();
    std::filesystem::resize_file(source, 1000);
    pipe.ignore(1 << 22);
    _exit(0);
  }
  EXPECT_EQ(Convert(), INVALID);
  EXPECT_EQ(waitpid(reader, nullptr, 0), reader);
  EXPECT_EQ(TakeErrors(log), Lines{"CopyData: Failed to read data block"});
}

// In a child: lets memory grow by `bytes` and no further, beside some KiB for small objects.
void LimitMemory(rlim_t bytes) {
  mallopt(M_TOP_PAD, 0);
  const void* const top = sbrk(0);
  void* volatile block = nullptr;
  while (sbrk(0) == top) {
    block = std::malloc(1000);
  }
  static_cast<void>(block);
  std::ifstream file("/proc/self/statm");
  rlim_t pages = 0;
  file >> pages;
  const rlim_t limit = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + bytes;
  const rlimit limits{limit, limit};
  setrlimit(RLIMIT_AS, &limits);
}

TEST_F(SanitizerTest, TellsWhichMemoryCannotBeHad) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the address sanitizer needs its memory";
#endif
  constexpr std::size_t MEBIBYTE = 1 << 20;
  struct Case {
    std::uint32_t dsCount;
    std::uint32_t rraCount;
    rlim_t memory;
    std::string error;
  };
  for (const auto& [dsCount, rraCount, memory, error] : std::vector<Case>{
           {1, 200000, 16 * MEBIBYTE, "ComputeDataSize: Out of memory for rraDef: Cannot allocate"},
           {200000, 0, 16 * MEBIBYTE, "BuildNewHeader: Out of memory for header: Cannot allocate"},
           {200000, 0, 64 * MEBIBYTE, "ConvertHeader32: Out of memory for header 32bits: Cannot"},
           {1, 1, 0, "CopyData: Out of memory"}}) {
    WriteFile(source, MakeStatHead(dsCount, rraCount));
    std::filesystem::resize_file(
        source, 128 + std::uintmax_t{232} * dsCount + 116 * rraCount + 80 * dsCount * rraCount);
    const rlim_t limit = memory;
    EXPECT_EXIT(
        {
          nvx::Log::RootLogger::GetInstance().SetDestination(nullptr);
          LimitMemory(limit);
          _exit(static_cast<int>(Convert()));
        },
        ::testing::ExitedWithCode(static_cast<int>(StatusCode::OutOfMemory)), error);
    EXPECT_EQ(std::filesystem::exists(destination), dsCount == rraCount);
  }
}

}  // namespace
