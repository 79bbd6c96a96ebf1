#include "timeseries/rrd/tool/layout_converter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <tuple>

#include "support/changed_bytes.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/rrd_file.h"
#include "support/run_program.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/failure.h"

namespace fs = std::filesystem;
using namespace nvx::TimeSeriesDatabase::Rrd::Tool;

namespace {

const std::map<std::string, Layout> TARGETS = {
    {"arm32-time32", Layout::Arm32Time32},
    {"arm32-time64", Layout::Arm32Time64},
    {"i386", Layout::I386},
    {"i386-time64", Layout::I386Time64},
    {"64bit", Layout::Bits64},
    {"s390x", Layout::Bits64HighFirst},
};

class LayoutConverterTest : public ::testing::Test {
 protected:
  LayoutConverterTest() {
    fs::current_path(directory.GetPath());
    EXPECT_EQ(RunProgram({"tar", "-xJf", TEST_DATA "/foreign/machines.tar.xz"}).status, 0);
    for (const auto& entry : fs::directory_iterator(".")) {
      if (entry.path().extension() == ".rrd") {
        names.push_back(entry.path().stem());
      }
    }
    std::sort(names.begin(), names.end());
  }

  int Convert(const std::string& source, const std::string& destination, Layout target) {
    return static_cast<int>(converter.Convert(source, destination, target));
  }

  // The file in another layout, or unchanged when it has that layout already.
  std::string GetConverted(const std::string& source, Layout target) {
    fs::copy_file(source, "new", fs::copy_options::overwrite_existing);
    const int code = Convert(source, "new", target);
    EXPECT_TRUE(code == 0 || code == 8) << converter.GetReason();
    return ReadFile("new");
  }

  TemporaryDirectory directory;
  std::vector<std::string> names;  // of the files of all machines, without .rrd
  LayoutConverter converter;
  LogCapture log{3};
};

TEST_F(LayoutConverterTest, ConvertsTheFilesOfEveryMachineToTheRightBytes) {
  std::ifstream digests(TEST_DATA "/foreign/converted.sha256");
  std::string digest;
  std::string name;
  std::string arrow;
  std::string layout;
  std::string size;
  int count = 0;
  for (; digests >> digest >> name >> arrow >> layout >> size; ++count) {
    GetConverted(name, TARGETS.at(layout));
    EXPECT_EQ(RunProgram({"sha256sum", "new"}).output, digest + "  new\n") << name << layout;
  }
  EXPECT_EQ(count, 249);
}

// Files of the oldest version begin at the same row everywhere.
TEST_F(LayoutConverterTest, WritesWhatTheOtherMachineWrote) {
  const std::tuple<std::string, std::string, Layout> pairs[] = {
      {"amd64", "i386", Layout::I386},
      {"amd64", "i386-time64", Layout::I386Time64},
      {"i386", "amd64", Layout::Bits64},
      {"ppc64", "arm32-time32", Layout::Arm32Time32},
      {"powerpc-time32", "arm32-time64", Layout::Arm32Time64},
  };
  for (const auto& [source, other, layout] : pairs) {
    for (const std::string shape : {"empty", "gauge", "resized"}) {
      const std::string converted = GetConverted(shape + "." + source + ".v1.rrd", layout);
      std::string expected = ReadFile(shape + "." + other + ".v1.rrd");
      expected.resize(expected.size() - (shape == "resized" ? 8 : 0));  // without the unused word
      EXPECT_TRUE(converted == expected) << shape << ": " << source << " to " << other;
    }
  }
}

// The elements of a dump that have a text, and the times of its rows. RRDtool prints the same
// version for all old files. Before predictions, its dump had fewer properties of an archive.
std::vector<std::pair<std::string, std::string>> ReadDump(const std::string& dump, bool isOldest) {
  static const std::regex LEAF(R"(<(\w+)>\s*([^<]*?)\s*</\w+>|/ (\d+) -->)");
  std::vector<std::pair<std::string, std::string>> leaves;
  for (std::sregex_iterator match(dump.begin(), dump.end(), LEAF), end; match != end; ++match) {
    const std::string name = (*match)[1];
    if (name != "version" &&
        !(isOldest && (name == "primary_value" || name == "secondary_value"))) {
      leaves.emplace_back(name, (*match)[2].str() + (*match)[3].str());
    }
  }
  return leaves;
}

// On some machines RRDtool writes only nine digits.
bool IsSame(const std::string& text, const std::string& other) {
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  const bool isNumber = end != text.c_str() && *end == '\0';
  const double difference = std::strtod(other.c_str(), nullptr) - number;
  return text == other || (isNumber && std::abs(difference) <= 3e-9 * std::abs(number));
}

TEST_F(LayoutConverterTest, RrdtoolDumpsWhatTheOtherMachineDumped) {
  int count = 0;
  for (const std::string& name : names) {
    if (!fs::exists(name + ".xml")) {
      continue;
    }
    ++count;
    GetConverted(name + ".rrd", GetNativeLayout());
    const bool isOldest = fs::path(name).extension() == ".v1";
    const auto expected = ReadDump(ReadFile(name + ".xml"), isOldest);
    const auto actual =
        ReadDump(RunProgram({"rrdtool", "dump", "new"}, {"TZ=UTC"}).output, isOldest);
    ASSERT_EQ(actual.size(), expected.size()) << name;
    for (std::size_t i = 0; i < actual.size(); ++i) {
      ASSERT_EQ(actual[i].first, expected[i].first) << name;
      ASSERT_TRUE(IsSame(actual[i].second, expected[i].second))
          << name << ": " << actual[i].first << ' ' << actual[i].second << " instead of "
          << expected[i].second;
    }
  }
  EXPECT_EQ(count, 134);
}

// Each file is converted through the next one of the targets, and one with a header of several
// pieces through each.
TEST_F(LayoutConverterTest, EveryWayLeadsToTheSameBytes) {
  constexpr Layout WAYS[] = {Layout::I386, Layout::Arm32Time32, Layout::I386Time64,
                             Layout::Arm32Time64};
  WriteFile("wide.rrd", RrdFileBytes{400, {{"AVERAGE", 70, 1}, {"MAX", 9, 7}}}.Make());
  names.insert(names.end(), std::size(WAYS), "wide");
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Layout way = WAYS[i % std::size(WAYS)];
    const std::string direct = GetConverted(names[i] + ".rrd", Layout::Bits64);
    const std::string there = GetConverted(names[i] + ".rrd", way);
    WriteFile("there", there);
    EXPECT_TRUE(there != direct && GetConverted("there", Layout::Bits64) == direct)
        << names[i] << ' ' << GetLayoutName(way);
  }
}

TEST_F(LayoutConverterTest, LeavesOutTheUnusedWordOfOldFiles) {
  for (const std::string& name : names) {
    RecognisedFile whole;
    ASSERT_EQ(static_cast<int>(converter.Recognise(name + ".rrd", whole)), 0);
    EXPECT_EQ(whole.unusedSize, name.rfind("resized", 0) == 0 ? 8u : 0u) << name;
    const std::string bytes = ReadFile(name + ".rrd");
    for (const std::string& word :
         {std::string(4, '\0'), std::string(8, '\0'), std::string("\xff\xff\xff\xff\0\0\1\0", 8)}) {
      const auto size = static_cast<std::size_t>(bytes.size() - whole.unusedSize);
      WriteFile("old", bytes.substr(0, size) + word);
      RecognisedFile file;
      ASSERT_EQ(static_cast<int>(converter.Recognise("old", file)), 0)
          << name << ": " << converter.GetReason();
      EXPECT_EQ(file.layout, whole.layout) << name;
      EXPECT_EQ(file.unusedSize, word.size());
    }
    if (name.rfind("empty", 0) == 0) {
      EXPECT_TRUE(GetConverted("old", Layout::Bits64) ==
                  GetConverted(name + ".rrd", Layout::Bits64))
          << name;
    }
  }
}

TEST_F(LayoutConverterTest, RefusesContradictionsAndNumbersThatDoNotFit) {
  ForEachRow("refused_layouts.txt", [this](const Row& row) {
    const std::string content = Change(ReadFile(row["file"] + ".rrd"), row["changes"]);
    const Layout target = TARGETS.at(row["layout"]);
    WriteFile("source", content);
    EXPECT_EQ(static_cast<int>(converter.Check("source", target)), row.GetNumber("code"));
    EXPECT_EQ(Convert("source", "none", target), row.GetNumber("code"));
    EXPECT_EQ(converter.GetReason(), row["reason"]);
    EXPECT_EQ(nvx::TimeSeriesDatabase::Failure::GetReason(), row["reason"]);
    const std::string line = "3[TimeSeriesDatabase::Rrd::Tool::LayoutConverter] ";
    EXPECT_EQ(log.Take(),
              (Lines{line + "Check: " + row["reason"], line + "Convert: " + row["reason"]}));
    EXPECT_FALSE(fs::exists("none"));
    EXPECT_TRUE(ReadFile("source") == content);
  });
}

TEST_F(LayoutConverterTest, ReportsFaultsOfTheMachine) {
  const std::string source = "compute.i386.rrd";
  const auto expect = [&](int code, const std::string& from, const std::string& to,
                          const std::string& reason) {
    EXPECT_EQ(Convert(from, to, Layout::Bits64), code);
    EXPECT_EQ(converter.GetReason(), reason);
  };
  fs::copy_file(source, "file");
  EXPECT_STREQ(GetLayoutName(Layout(99)), "unknown");
  expect(42, "none", "new", "Cannot open 'none': No such file or directory");
  expect(28, ".", "new", "'.' is no regular file");
  expect(28, "file", "./file", "'./file' is the source itself");
  expect(9, "file", "none/new", "Cannot open none/new: No such file or directory");
  expect(9, "file", "/dev/full", "Cannot write in /dev/full: No space left on device");
  EXPECT_TRUE(ReadFile("file") == ReadFile(source));
}

}  // namespace
