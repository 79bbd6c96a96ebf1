#include "timeseries/rrd/tool/layout_converter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>

#include "support/changed_bytes.h"
#include "support/legacy_file.h"
#include "support/log_capture.h"
#include "support/shell.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/failure.h"

namespace fs = std::filesystem;
using namespace nvx::TimeSeriesDatabase::Rrd::Tool;

namespace {

constexpr const char* MACHINES[] = {"arm32-time32", "mipsel-time32", "arm32-time64",
                                    "i386",         "amd64",         "arm64"};

const std::map<std::string, Layout> LAYOUTS = {
    {"arm32-time32", Layout::Arm32Time32},
    {"arm32-time64", Layout::Arm32Time64},
    {"i386", Layout::I386},
    {"64bit", Layout::Bits64},
};

std::string GetPath(const std::string& name) { return TEST_DATA "/foreign/" + name; }

class LayoutConverterTest : public ::testing::Test {
 protected:
  LayoutConverterTest() { fs::current_path(directory.GetPath()); }

  int Convert(const std::string& source, const std::string& destination, Layout target) {
    return static_cast<int>(converter.Convert(source, destination, target));
  }

  // The file in another layout, or as it is when it has that already.
  std::string GetConverted(const std::string& source, Layout target) {
    fs::copy_file(source, "new", fs::copy_options::overwrite_existing);
    const int code = Convert(source, "new", target);
    EXPECT_TRUE(code == 0 || code == 8) << converter.GetReason();
    return ReadFile("new");
  }

  TemporaryDirectory directory;
  LayoutConverter converter;
  LogCapture log{3};
};

TEST_F(LayoutConverterTest, ConvertsTheFilesOfEveryMachineToTheRightBytes) {
  std::ifstream digests(GetPath("converted.sha256"));
  std::string digest;
  std::string name;
  std::string arrow;
  std::string layout;
  std::string size;
  while (digests >> digest >> name >> arrow >> layout >> size) {
    GetConverted(GetPath(name), LAYOUTS.at(layout));
    EXPECT_EQ(RunProgram({"sha256sum", "new"}).output, digest + "  new\n") << name << layout;
  }
}

// The numbers to nine digits: the RRDtool of some machines writes no more.
std::string RoundNumbers(const std::string& dump) {
  static const std::regex NUMBER(R"(-?\d\.\d+e[-+]\d+)");
  std::string rounded;
  auto rest = dump.begin();
  for (std::sregex_iterator match(dump.begin(), dump.end(), NUMBER), end; match != end; ++match) {
    char number[32];
    std::snprintf(number, sizeof number, "%.8e", std::stod(match->str()));
    rounded.append(rest, (*match)[0].first).append(number);
    rest = (*match)[0].second;
  }
  return rounded.append(rest, dump.end());
}

TEST_F(LayoutConverterTest, RrdtoolDumpsWhatTheOtherMachineDumped) {
  const std::string expected =
      RoundNumbers(RunProgram({"xz", "-dc", GetPath("compute.dump.xml.xz")}).output);
  for (const std::string machine : MACHINES) {
    GetConverted(GetPath("compute." + machine + ".rrd"), GetNativeLayout());
    const std::string dump = RunProgram({"rrdtool", "dump", "new"}, {"TZ=UTC"}).output;
    EXPECT_TRUE(RoundNumbers(dump) == expected) << machine << '\n' << dump;
  }
}

TEST_F(LayoutConverterTest, ThereAndBackGivesTheSameBytes) {
  const Shell shell;
  ASSERT_EQ(shell
                .Run(R"(
    for i in $(seq 17); do sources="$sources DS:source$i:DERIVE:120:U:U"; done
    rrdtool create wide --step 60 --start 1600000000 $sources RRA:AVERAGE:0.5:1:70 \
      RRA:MHWPREDICT:60:0.1:0.0035:20 RRA:MAX:0.5:7:9
    for i in $(seq 100); do
      values=$(seq -s: $i $((i * i + 5)) $((i * i * 17 + 100)) | cut -d: -f1-17)
      echo $((1600000000 + i * 59)).25$(printf ":$((i * i % 37))%.0s" $(seq 17))
    done | xargs rrdtool update wide && cp wide )" +
                     directory.GetPath())
                .status,
            0);
  const Layout other = GetNativeLayout() == Layout::Bits64 ? Layout::Arm32Time64 : Layout::Bits64;
  ASSERT_EQ(Convert("wide", "there", other), 0);
  ASSERT_EQ(Convert("there", "back", GetNativeLayout()), 0);
  EXPECT_NE(fs::file_size("there"), fs::file_size("wide"));
  EXPECT_TRUE(ReadFile("back") == ReadFile("wide"));
}

TEST_F(LayoutConverterTest, LeavesOutTheUnusedWordOfOldFiles) {
  for (const std::string machine : MACHINES) {
    for (const std::string& word :
         {std::string(4, '\0'), std::string(8, '\0'), std::string("\xff\xff\xff\xff\0\0\1\0", 8)}) {
      const std::string path = GetPath("compute." + machine + ".rrd");
      WriteFile("old", ReadFile(path) + word);
      RecognisedFile file;
      ASSERT_EQ(static_cast<int>(converter.Recognise("old", file)), 0) << converter.GetReason();
      EXPECT_EQ(file.unusedSize, word.size());
      for (const Layout target : {Layout::Bits64, Layout::Arm32Time64}) {
        EXPECT_EQ(Convert("old", "without", target), 0) << converter.GetReason();
        EXPECT_TRUE(ReadFile("without") == GetConverted(path, target));
      }
    }
  }
}

TEST_F(LayoutConverterTest, RefusesWhatContradictsItselfOrDoesNotFit) {
  ForEachRow("refused_layouts.txt", [this](const Row& row) {
    const std::string content = Change(ReadFile(GetPath(row["file"] + ".rrd")), row["changes"]);
    WriteFile("source", content);
    EXPECT_EQ(static_cast<int>(converter.Check("source", LAYOUTS.at(row["layout"]))),
              row.GetNumber("code"));
    EXPECT_EQ(Convert("source", "none", LAYOUTS.at(row["layout"])), row.GetNumber("code"));
    EXPECT_EQ(converter.GetReason(), row["reason"]);
    EXPECT_EQ(nvx::TimeSeriesDatabase::Failure::GetReason(), row["reason"]);
    const std::string line = "3[TimeSeriesDatabase::Rrd::Tool::LayoutConverter] ";
    EXPECT_EQ(log.Take(),
              (Lines{line + "Check: " + row["reason"], line + "Convert: " + row["reason"]}));
    EXPECT_FALSE(fs::exists("none"));
    EXPECT_TRUE(ReadFile("source") == content);
  });
}

TEST_F(LayoutConverterTest, RecognisesTheHighByteFirst) {
  RecognisedFile file;
  ASSERT_EQ(static_cast<int>(converter.Recognise(GetPath("gauge.s390x.rrd"), file)), 0);
  EXPECT_STREQ(GetLayoutName(file.layout), "64bit, high byte first");
  EXPECT_EQ(file.rowCount, 1000u);
  EXPECT_EQ(file.lastUpdate, 1700053800u);
}

TEST_F(LayoutConverterTest, TellsFaultsOfTheMachine) {
  const std::string source = GetPath("compute.i386.rrd");
  const auto expect = [&](int code, const std::string& from, const std::string& to,
                          const std::string& reason) {
    EXPECT_EQ(Convert(from, to, Layout::Bits64), code);
    EXPECT_EQ(converter.GetReason(), reason);
  };
  fs::copy_file(source, "file");
  expect(42, "none", "new", "Cannot open 'none': No such file or directory");
  expect(28, ".", "new", "'.' is no regular file");
  expect(28, "file", "./file", "'./file' is the source itself");
  expect(9, "file", "none/new", "Cannot open none/new: No such file or directory");
  expect(9, "file", "/dev/full", "Cannot write in /dev/full: No space left on device");
  EXPECT_TRUE(ReadFile("file") == ReadFile(source));
}

}  // namespace
