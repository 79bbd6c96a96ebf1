// The four services of a host platform, as the library needs them.

#include <cctz/time_zone.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "host_under_test.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/date/date.h"

using nv::kora::KoraLogLevel;
using nv::kora::StatusCode;
using nvx::Log::RootLogger;
using nvx::Utilities::FileSystem;

namespace {

TEST(HostEncoder, ReadsIso8601AndNothingElse) {
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

TEST(HostFileSystem, FindsFilesAndNoDirectories) {
  const TemporaryDirectory directory;
  std::ofstream(directory.GetPath("a.rrd"));
  std::ofstream(directory.GetPath("b.rrdx"));
  std::ofstream(directory.GetPath(".rrd"));
  std::filesystem::create_directory(directory.GetPath("c.rrd"));
  std::filesystem::create_symlink("a.rrd", directory.GetPath("d.rrd"));
  std::filesystem::create_symlink("none", directory.GetPath("e.rrd"));
  for (const char* const name : {"a.rrd", "d.rrd"}) {
    EXPECT_EQ(FileSystem::CheckFileExist(directory.GetPath(name)), StatusCode::Success) << name;
  }
  for (const char* const name : {"c.rrd", "e.rrd", "none", "a.rrd/x", ""}) {
    EXPECT_NE(FileSystem::CheckFileExist(directory.GetPath() + "/" + name), StatusCode::Success)
        << name;
  }

  EXPECT_EQ(FileSystem::FILENAME_EXTENSION_SEPARATOR, ".");
  std::set<std::string> names = {"before"};
  FileSystem files;
  EXPECT_EQ(files.GetFileList(directory.GetPath(), "rrd", names), StatusCode::Success);
  EXPECT_EQ(names, (std::set<std::string>{"a.rrd", "before", "d.rrd"}));
  for (const char* const name : {"none", "a.rrd"}) {
    EXPECT_NE(files.GetFileList(directory.GetPath(name), "rrd", names), StatusCode::Success);
  }
  EXPECT_EQ(names.size(), 3u);
}

void LogLongLine() {
  RootLogger::GetInstance().Print(KoraLogLevel::Trace, "[%lu] %s", 1UL,
                                  std::string(5000, 'x').c_str());
}

void LogByLibrary() { nvx::TimeSeriesDatabase::Date::Date().IsTimeZoneSupported("None"); }

// The library and this program are different modules. That both share the level and the lines shows
// that the process has one logger.
TEST(HostLogger, IsTheSameInTheLibrary) {
  for (const KoraLogLevel level :
       {KoraLogLevel::Error, KoraLogLevel::Information, KoraLogLevel::Trace}) {
    HostUnderTest::SetLogLevel(level);
    EXPECT_EQ(RootLogger::GetInstance().GetLevel(), level);
    const std::vector<std::string> lines = HostUnderTest::CaptureLog(LogByLibrary);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("[TimeSeriesDatabase::Date::Date] IsTimeZoneSupported: "
                            "Unsupported time zone [None]"),
              std::string::npos);
  }
  HostUnderTest::SetLogLevel(KoraLogLevel{});
  EXPECT_TRUE(HostUnderTest::CaptureLog(LogByLibrary).empty());
  HostUnderTest::SetLogLevel(KoraLogLevel::Error);

  const std::vector<std::string> lines = HostUnderTest::CaptureLog(LogLongLine);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("[1] " + std::string(5000, 'x')), std::string::npos);
}

TEST(HostStore, FindsAFieldAndReportsAMissingOne) {
  const std::string binary("\0\r\n\xff", 4);
  const auto store = HostUnderTest::MakeStore({{"field", "60"}, {"empty", ""}, {"all", binary}});
  std::string value = "before";
  EXPECT_NE(store->HashGet("key", "none", value), StatusCode::Success);
  EXPECT_NE(store->HashGet("none", "field", value), StatusCode::Success);
  EXPECT_EQ(value, "before");
  for (const auto& [field, stored] :
       std::map<std::string, std::string>{{"field", "60"}, {"empty", ""}, {"all", binary}}) {
    EXPECT_EQ(store->HashGet("key", field, value), StatusCode::Success);
    EXPECT_EQ(value, stored);
  }
}

}  // namespace
