#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "nvx/date_time_encoder.h"
#include "nvx/file_system.h"
#include "nvx/root_logger.h"
#include "support/log_capture.h"
#include "support/temporary_directory.h"

using nv::kora::StatusCode;
using nvx::Utilities::FileSystem;

namespace {

TEST(Encoder, ReadsIso8601) {
  struct Case {
    const char* text;
    long long seconds;
    unsigned short milliseconds;
  };
  const Case cases[] = {
      {"1970-01-01", 0, 0},
      {"2021-03-28T01:00", 1616893200, 0},
      {"2021-03-28T01:00:30", 1616893230, 0},
      {"2021-03-28T01:00:30.250Z", 1616893230, 250},
      {"2021-03-28T03:00+02:00", 1616893200, 0},
      {"2021-03-27T23:30:00-01:30", 1616893200, 0},
      {"2000-02-29", 951782400, 0},
      {"1969-12-31T23:59:59Z", -1, 0},
      {"9999-12-31T23:59:59Z", 253402300799, 0},
      {"0001-01-01", -62135596800, 0},
  };
  for (const Case& expected : cases) {
    std::tm utc{};
    unsigned short milliseconds = 7;
    long long seconds = 7;
    ASSERT_TRUE(nvx::DateTime::Encoder::FromString(expected.text, utc, milliseconds))
        << expected.text;
    EXPECT_TRUE(nvx::DateTime::Encoder::ToGmTime(utc, seconds));
    EXPECT_EQ(seconds, expected.seconds) << expected.text;
    EXPECT_EQ(milliseconds, expected.milliseconds);
  }
}

TEST(Encoder, RefusesOtherTexts) {
  for (const char* const text : {"",
                                 "now",
                                 "2021",
                                 "2021-3-28",
                                 "2021-02-29",
                                 "2021-13-01",
                                 "2021-00-10",
                                 "2021-01-00",
                                 "2021-03-28T",
                                 "2021-03-28T24:00",
                                 "2021-03-28T01:60",
                                 "2021-03-28T01:00:60",
                                 "2021-03-28T01",
                                 "2021-03-28T01:00:",
                                 "2021-03-28T01:00:30.5",
                                 "2021-03-28T01:00+2",
                                 "2021-03-28T01:00+02:60",
                                 "2021-03-28T01:00ZZ",
                                 "2021-03-28 01:00",
                                 "2021-03-28Z",
                                 "-021-03-28",
                                 "2021-03-28T01:00:30.+50"}) {
    std::tm utc{};
    unsigned short milliseconds = 7;
    EXPECT_FALSE(nvx::DateTime::Encoder::FromString(text, utc, milliseconds)) << text;
    EXPECT_EQ(milliseconds, 7);
  }
}

TEST(FileSystem, OnlyFilesCount) {
  const TemporaryDirectory directory;
  std::ofstream(directory.GetPath("a.rrd"));
  std::ofstream(directory.GetPath("b.rrdx"));
  std::ofstream(directory.GetPath(".rrd"));
  std::filesystem::create_directory(directory.GetPath("c.rrd"));
  std::filesystem::create_symlink("a.rrd", directory.GetPath("d.rrd"));
  std::filesystem::create_symlink("none", directory.GetPath("e.txt"));
  EXPECT_EQ(FileSystem::CheckFileExist(directory.GetPath("a.rrd")), StatusCode::Success);
  EXPECT_EQ(FileSystem::CheckFileExist(directory.GetPath("d.rrd")), StatusCode::Success);
  for (const char* const name : {"c.rrd", "e.txt", "none", "a.rrd/x", ""}) {
    EXPECT_EQ(FileSystem::CheckFileExist(directory.GetPath(name)), StatusCode::NotFound) << name;
  }

  std::set<std::string> names = {"before"};
  FileSystem files;
  EXPECT_EQ(files.GetFileList(directory.GetPath(), "rrd", names), StatusCode::Success);
  EXPECT_EQ(names, (std::set<std::string>{"a.rrd", "before", "d.rrd"}));
  EXPECT_EQ(files.GetFileList(directory.GetPath("none"), "rrd", names), StatusCode::NotFound);
  EXPECT_EQ(files.GetFileList(directory.GetPath("a.rrd"), "rrd", names), StatusCode::NotFound);
  EXPECT_EQ(names.size(), 3u);
}

TEST(RootLogger, WritesAStampedLineToStandardErrorUnlessToldOtherwise) {
  const auto& logger = nvx::Log::RootLogger::GetInstance();
  const std::string text(5000, 'x');
  testing::internal::CaptureStderr();
  logger.Print(nv::kora::KoraLogLevel::Information, "[%lu] %s", 1UL, text.c_str());
  const std::string line = testing::internal::GetCapturedStderr();
  const std::string pattern = "dddd-dd-ddTdd:dd:dd.dddZ info [1] ";
  ASSERT_EQ(line.size(), pattern.size() + text.size() + 1);
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    EXPECT_TRUE(pattern[i] == 'd' ? std::isdigit(line[i]) != 0 : line[i] == pattern[i]) << line;
  }

  LogCapture log(3);
  testing::internal::CaptureStderr();
  logger.Print(nv::kora::KoraLogLevel::Error, "[%lu]%d", 1UL, 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(log.Take(), std::vector<std::string>{"32"});
}

}  // namespace
