#include <gtest/gtest.h>

#include <cmath>

#include "support/command_line.h"

namespace {

constexpr long long START = 1600000020;  // on a minute

std::string MakeCsv(long long count) {
  std::string csv = "time,value\n";
  for (long long i = 1; i <= count; ++i) {
    csv += std::to_string(START + 60 * i) + "," + std::to_string(i) + "\n";
  }
  return csv;
}

class Writing : public testing::Test {
 protected:
  ProgramResult Run(const std::string& command, const std::string& input = "") const {
    return commandLine.Run(command, input);
  }

  void Create(const std::string& options = "--rows 50000") const {
    ASSERT_EQ(Run("create topo:m --step 60 --start 1600000020 " + options).error, "");
  }

  // The values of all minutes from `from` on.
  std::string GetValues(long long from) const {
    std::istringstream csv(
        Run("query topo:m --interval 1m --format csv --no-adjust --from " + std::to_string(from))
            .output);
    std::string values;
    std::string line;
    std::getline(csv, line);
    while (std::getline(csv, line)) {
      const std::size_t value = line.find(',', line.find(',') + 1) + 1;
      values += line.substr(value, line.find(',', value) - value) + " ";
    }
    return values;
  }

  CommandLine commandLine;
};

TEST_F(Writing, TakesSamplesAsArguments) {
  Create();
  const ProgramResult result =
      Run("update topo:m --zone Asia/Kolkata 2020-09-13T17:58:2 1600000140:-1.5 1600000200:nan "
          "2020-09-13T12:31Z: 2020-09-13T17:02:00+04:30:1e3 1600000440:0.1234567 1600000500:0");
  EXPECT_EQ(result.output + result.error, "topo:m: 7 samples stored\n");
  // One sample may be left out: the next one stands for its minute too.
  EXPECT_EQ(GetValues(START + 60), "2 -1.5 nan nan 1000 0.123457 0.123457 ");
}

TEST_F(Writing, TakesLinesOfEveryKind) {
  Create();
  const ProgramResult result =
      Run("update topo:m --csv - --column b",
          "time,a,b,c\r\n1600000080,9,1,9\r\n2020-09-13T12:29:00Z,,2,\r\n1600000200,x,,\r\n"
          "1600000320,,4,\n1600000260,,nan,\n1600000380,,5,\n\r\n\n");
  EXPECT_EQ(result.output + result.error, "topo:m: 6 samples stored\n");
  EXPECT_EQ(GetValues(START + 60), "1 2 nan nan 4 ");
}

TEST_F(Writing, TakesManyBatches) {
  Create();
  EXPECT_EQ(Run("update topo:m --csv -", MakeCsv(25'000)).output, "topo:m: 25000 samples stored\n");
  std::string expected;
  for (int i = 1; i < 25'000; ++i) {
    expected += std::to_string(i) + " ";
  }
  EXPECT_EQ(GetValues(START + 60), expected);
}

TEST_F(Writing, StoresNothingOfABatchWithABadLine) {
  Create();
  const std::string empty = commandLine.ReadFile("topo_m.rrd");
  const std::string cases[][2] = {
      {"", "no header line"},
      {"time\n1600000080\n", "line 1: the header has no value column"},
      {"time,v\n1600000080,1\n1600000140\n", "line 3: 1 fields instead of 2"},
      {"time,v\n1600000080,1\n1600000140,2,3\n", "line 3: 3 fields instead of 2"},
      {"time,v\n1600000080,1\n\n1600000140,2\n", "line 3: the line is blank"},
      {"time,v\n1600000080,1\r\n1600000140,2 \r\n", "line 3: '2 ' is no number"},
      {"time,v\n1600000080,inf\n", "line 2: 'inf' is no number"},
      {"time,v\n1600000080,1e999\n", "line 2: '1e999' is no number"},
      {"time,v\n1600000080,1\nyesterday,2\n",
       "line 3: 'yesterday' is not a time of the years 1 to 9999"},
      {"time,v\n1600000080000,1\n", "line 2: '1600000080000' is not a time of the years 1 to 9999"},
      {"time,v\n1600000080,1\n2020-09-13T12:28,2\n", "line 3: its time occurs twice"},
  };
  for (const auto& [csv, problem] : cases) {
    const ProgramResult result = Run("update topo:m --csv -", csv);
    EXPECT_EQ(result.status, 1) << csv;
    EXPECT_EQ(result.error,
              "nvx-timeseries: standard input: " + problem + " (InvalidArgument, 28)\n");
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(commandLine.ReadFile("topo_m.rrd"), empty) << csv;
  }
  EXPECT_EQ(Run("update topo:m --csv /dev/zero").error,
            "nvx-timeseries: /dev/zero: line 1: the line is too long (InvalidArgument, 28)\n");
}

TEST_F(Writing, SaysWhatIsStoredWhenALaterBatchFails) {
  Create();
  EXPECT_EQ(Run("update topo:m --csv -", MakeCsv(10'500) + "x,1\n").error,
            "nvx-timeseries: standard input: line 10502: 'x' is not a time of the years 1 to 9999; "
            "10000 samples before this batch stored (InvalidArgument, 28)\n");
  EXPECT_EQ(Run("update topo:m --csv -", MakeCsv(10'001)).error,
            "nvx-timeseries: topo:m: the sample of 2020-09-13T12:28:00.000+00:00 is not later than "
            "2020-09-20T11:07:00.000+00:00, the last update (InvalidArgument, 28)\n");
}

TEST_F(Writing, StoresNothingOfABatchThatBeginsBeforeTheLastUpdate) {
  Create();
  ASSERT_EQ(Run("update topo:m 1600000080:1 1600000140:2").status, 0);
  const std::string before = commandLine.ReadFile("topo_m.rrd");
  for (const std::string times : {"1600000140:5", "1600000200:3 1600000080:9", "-5:1"}) {
    EXPECT_NE(Run("update topo:m " + times).error.find("the last update (InvalidArgument, 28)\n"),
              std::string::npos)
        << times;
    EXPECT_EQ(commandLine.ReadFile("topo_m.rrd"), before) << times;
  }
}

TEST_F(Writing, StoresValuesOutsideTheBoundsAsMissing) {
  Create("--rows 10 --min -1 --max 1");
  ASSERT_EQ(Run("update topo:m --csv -",
                "t,v\n1600000080,-1\n1600000140,1.5\n1600000200,1\n"
                "1600000260,-2\n1600000320,0\n")
                .status,
            0);
  EXPECT_EQ(GetValues(START + 60), "-1 nan 1 nan ");
}

TEST_F(Writing, ReplacesAFileOnlyWhenForced) {
  Create();
  ASSERT_EQ(Run("update topo:m 1600000080:1").status, 0);
  const std::string before = commandLine.ReadFile("topo_m.rrd");
  EXPECT_EQ(Run("create topo:m --step 1 --rows 1").status, 1);
  EXPECT_EQ(commandLine.ReadFile("topo_m.rrd"), before);
  EXPECT_EQ(Run("create topo:m --step 1 --rows 1 --force").status, 0);
  EXPECT_NE(commandLine.ReadFile("topo_m.rrd"), before);
}

TEST_F(Writing, WarnsOfIdsThatAreListedOtherwise) {
  const std::string cases[][2] = {
      {"topo:a;b", ""},
      {"topo:a__b", "topo_a__b.rrd is listed as topo:a;b"},
      {"topo:_x", "topo__x.rrd cannot be listed"},
      {"topo:diag1", "diag_diag1.rrd is listed as diag:diag1"},
  };
  for (const auto& [zeltId, warning] : cases) {
    const ProgramResult result = Run("create " + zeltId + " --step 60 --rows 1 --force");
    EXPECT_EQ(result.status, 0) << zeltId;
    EXPECT_EQ(result.error, warning.empty() ? ""
                                            : "nvx-timeseries: " + zeltId + ": warning: its file " +
                                                  warning + "\n");
  }
}

TEST_F(Writing, MigratesWithoutLosingSamples) {
  Create("--rows 10");
  ASSERT_EQ(Run("update topo:m --csv -", MakeCsv(10)).status, 0);
  ASSERT_EQ(Run("migrate topo:m --step 60 --rows 20").status, 0);
  EXPECT_EQ(GetValues(START + 60), "1 2 3 4 5 6 7 8 9 ");
  ASSERT_EQ(Run("update topo:m 1600000680:11 1600000740:12").status, 0);
  EXPECT_EQ(GetValues(START + 60), "1 2 3 4 5 6 7 8 9 10 11 ");

  const std::string before = commandLine.ReadFile("topo_m.rrd");
  const std::string earlier = "migrate topo:m --step 60 --rows 20 --start 1600000380";
  EXPECT_EQ(Run(earlier).error,
            "nvx-timeseries: topo:m: the samples from then to 2020-09-13T12:39:00.000+00:00 would "
            "be lost; --force drops them (InvalidArgument, 28)\n");
  EXPECT_EQ(commandLine.ReadFile("topo_m.rrd"), before);
  EXPECT_EQ(Run(earlier + " --force").status, 0);
  EXPECT_EQ(GetValues(START + 60), "1 2 3 4 5 ");
}

}  // namespace
