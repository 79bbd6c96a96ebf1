#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "nvx/date_time_encoder.h"
#include "nvx/file_system.h"
#include "nvx/root_logger.h"
#include "support/log_capture.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/date/date.h"

using nv::kora::StatusCode;
using nvx::Utilities::FileSystem;

namespace {

TEST(Encoder, ReadsIso8601AndNothingElse) {
  ForEachRow("date_texts.txt", [](const Row& row) {
    for (const std::string& text : SplitFields(row["texts"], ';')) {
      std::tm utc{};
      unsigned short milliseconds = 7;
      long long seconds = 7;
      const bool isRead = nvx::DateTime::Encoder::FromString(text, utc, milliseconds) &&
                          nvx::DateTime::Encoder::ToGmTime(utc, seconds);
      EXPECT_EQ(isRead ? std::to_string(seconds) + " " + std::to_string(milliseconds) : "",
                row["answer"])
          << text;
      EXPECT_TRUE(isRead || (seconds == 7 && milliseconds == 7)) << text;
    }
  });
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
  auto& logger = nvx::Log::RootLogger::GetInstance();
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
  logger.SetDestination(logger.SetDestination(nullptr));  // back to what it was
  testing::internal::CaptureStderr();
  nvx::TimeSeriesDatabase::Date::Date().IsTimeZoneSupported("None");  // the library's own line
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(log.Take().size(), 1u);
}

}  // namespace
