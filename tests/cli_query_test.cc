#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iostream>

#include "support/command_line.h"

namespace {

const std::string WEATHER = TEST_DATA "/seattle-weather-hourly.csv";
const std::string COLUMNS[] = {"temperature", "pressure", "wind"};

// The lines that start with a digit, as two numbers around the separator.
std::vector<std::pair<double, double>> ReadPairs(const std::string& text, char separator) {
  std::istringstream stream(text);
  std::vector<std::pair<double, double>> pairs;
  for (std::string line; std::getline(stream, line);) {
    const std::size_t position = line.find(separator);
    if (position != std::string::npos && position > 0 && std::isdigit(line[0]) != 0) {
      pairs.emplace_back(std::stod(line.substr(0, position)), std::stod(line.substr(position + 1)));
    }
  }
  return pairs;
}

std::string WithoutDate(const std::string& csv) {
  std::istringstream stream(csv);
  std::string rest;
  for (std::string line; std::getline(stream, line);) {
    rest += line.substr(line.find(',') + 1) + '\n';
  }
  return rest;
}

// A year of weather in three data sources, topo:temperature and so on.
class Weather : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    commandLine = new CommandLine;
    for (const std::string& column : COLUMNS) {
      const std::string id = "topo:" + column;
      ASSERT_EQ(
          commandLine->Run("create " + id + " --step 3600 --rows 8760 --start 1262332800").status,
          0);
      const ProgramResult update =
          commandLine->Run({"update", id, "--csv", WEATHER, "--column", column});
      ASSERT_EQ(update.output + update.error, id + ": 8759 samples stored\n");
    }
  }

  static void TearDownTestSuite() { delete commandLine; }

  static CommandLine* commandLine;
};

CommandLine* Weather::commandLine = nullptr;

TEST_F(Weather, IsListed) {
  EXPECT_EQ(commandLine->Run("list").output, "topo:pressure\ntopo:temperature\ntopo:wind\n");
}

TEST_F(Weather, HasTheDailyAveragesOfAnIndependentComputation) {
  std::size_t count = 0;
  double largestDifference = 0;
  for (const std::string zone : {"America/Los_Angeles", "Europe/Paris", "Pacific/Auckland"}) {
    for (const std::string& column : COLUMNS) {
      const ProgramResult rival =
          RunProgram({"python3", TEST_SOURCE "/support/daily_averages.py", WEATHER, column, zone});
      if (rival.status == 127) {
        GTEST_SKIP() << "no python3";
      }
      const ProgramResult query = commandLine->Run(
          "query topo:" + column + " --interval 1d --format csv --from 1262336400 --zone " + zone);
      const auto expected = ReadPairs(rival.output, ',');
      const auto actual = ReadPairs(WithoutDate(query.output), ',');
      ASSERT_EQ(query.status, 0) << query.error;
      ASSERT_EQ(query.output.find("bad"), std::string::npos);
      ASSERT_EQ(actual.size(), expected.size());
      for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(actual[i].first, expected[i].first);
        largestDifference =
            std::max(largestDifference, std::abs(actual[i].second - expected[i].second));
      }
      count += expected.size();
    }
  }
  EXPECT_GT(count, 3000u);
  EXPECT_LT(largestDifference, 1e-9);
  std::cout << count << " daily averages, largest difference " << largestDifference << '\n';
}

TEST_F(Weather, IsWhatRrdtoolReads) {
  const ProgramResult fetched =
      RunProgram({"rrdtool", "fetch", commandLine->GetPath("topo_wind.rrd"), "LAST", "--start",
                  "1262332800", "--end", "1293861600"});
  if (fetched.status == 127) {
    GTEST_SKIP() << "no rrdtool";
  }
  const auto written = ReadPairs(fetched.output, ':');
  ASSERT_EQ(written.size(), 8759u);  // as many as samples
  const ProgramResult read =
      commandLine->Run("query topo:wind --interval 1h --format csv --from 1262336400");
  const auto hours = ReadPairs(WithoutDate(read.output), ',');
  ASSERT_EQ(hours.size(), 8758u);  // the last sample only ends an hour
  for (std::size_t i = 0; i < hours.size(); ++i) {
    ASSERT_EQ(hours[i].first, written[i].first);
    ASSERT_NEAR(hours[i].second, written[i].second, 1e-9);
  }
}

TEST_F(Weather, InfoIsWhatRrdtoolSays) {
  const std::string path = commandLine->GetPath("topo_wind.rrd");
  EXPECT_EQ(commandLine->Run("info topo:wind").output,
            "path      " + path +
                "\nstep      3600 s\ninterval  Hour\n"
                "first     2010-01-01T08:00:00.000+00:00 (1262332800)\n"
                "last      2011-01-01T07:00:00.000+00:00 (1293865200)\n");
  const std::string said = RunProgram({"rrdtool", "info", path}).output;
  for (const char* line :
       {"step = 3600\n", "last_update = 1293865200\n", "ds[element].type = \"GAUGE\"\n",
        "ds[element].minimal_heartbeat = 7200\n", "ds[element].min = NaN\n",
        "rra[0].cf = \"LAST\"\n", "rra[0].rows = 8760\n"}) {
    EXPECT_NE(said.find(line), std::string::npos) << line;
  }
}

// Steps of a minute from 2020-09-13T12:27:00Z on.
class Minutes : public testing::Test {
 protected:
  void Store(const std::vector<std::string>& values) {
    ASSERT_EQ(commandLine.Run("create topo:m --step 60 --rows 100 --start 1599999960").status, 0);
    std::string csv = "time,value\n";
    long long time = 1600000020;
    for (const std::string& value : values) {
      csv += std::to_string(time) + "," + value + "\n";
      time += 60;
    }
    ASSERT_EQ(commandLine.Run("update topo:m --csv -", csv).status, 0);
  }

  ProgramResult Query(const std::string& options, const std::string& columns = "") {
    return commandLine.Run("query topo:m " + options, "", {"COLUMNS=" + columns});
  }

  CommandLine commandLine;
};

TEST_F(Minutes, AreATableWithBars) {
  Store({"-1.5", "0", "nan", "1.5", "0.75", "5"});
  const std::string options = "--interval 1m --from 2020-09-13T12:27 --to 2020-09-13T12:32";
  const std::string wide =
      "date                            value  quality\n"
      "2020-09-13T12:27:00.000+00:00  -1.500  good     #\n"
      "2020-09-13T12:28:00.000+00:00   0.000  good     ######\n"
      "2020-09-13T12:29:00.000+00:00       -  bad\n"
      "2020-09-13T12:30:00.000+00:00   1.500  good     ###########\n"
      "2020-09-13T12:31:00.000+00:00   0.750  good     #########\n"
      "The bars reach from -1.500 to 1.500.\n";
  EXPECT_EQ(Query(options, "59").output, wide);
  for (const std::string columns : {"57", "", "x", "-100"}) {
    EXPECT_EQ(Query(options, columns).output.find('#'), std::string::npos) << columns;
  }
}

TEST_F(Minutes, ArePrintedAsCsvAndJson) {
  Store({"0.1", "nan", "-1000000", "0"});
  const std::string options = "--interval 1m --from 1600000020 --zone Asia/Kolkata --format ";
  EXPECT_EQ(Query(options + "csv").output,
            "date,timestamp,value,quality\n"
            "2020-09-13T17:57:00.000+05:30,1600000020,0.1,good\n"
            "2020-09-13T17:58:00.000+05:30,1600000080,nan,bad\n"
            "2020-09-13T17:59:00.000+05:30,1600000140,-1e+06,good\n");
  EXPECT_EQ(Query(options + "json").output, R"([
  {"date":"2020-09-13T17:57:00.000+05:30","timestamp":1600000020,"value":0.1,"quality":"good"},
  {"date":"2020-09-13T17:58:00.000+05:30","timestamp":1600000080,"value":null,"quality":"bad"},
  {"date":"2020-09-13T17:59:00.000+05:30","timestamp":1600000140,"value":-1000000.0,"quality":"good"}
]
)");
  EXPECT_EQ(commandLine.Run("info topo:m --format json").output,
            "{\n  \"path\": \"" + commandLine.GetPath("topo_m.rrd") + R"(",
  "step": 60,
  "interval": "OneMinute",
  "first": {
    "date": "2020-09-13T10:51:00.000+00:00",
    "timestamp": 1599994260
  },
  "last": {
    "date": "2020-09-13T12:30:00.000+00:00",
    "timestamp": 1600000200
  }
}
)");
}

TEST_F(Minutes, HaveFullBarsWhenAllAreEqualAndNoneWhenAllAreMissing) {
  Store({"2", "2", "2", "nan", "nan", "nan"});
  const std::string equal =
      Query("--interval 1m --to 2020-09-13T12:29 --from 2020-09-13T12:27", "57").output;
  EXPECT_NE(equal.find("good     ##########\n2020-09-13T12:28"), std::string::npos) << equal;
  const ProgramResult missing = Query("--interval 1m --from 2020-09-13T12:30", "200");
  EXPECT_EQ(missing.output,
            "date                           value  quality\n"
            "2020-09-13T12:30:00.000+00:00      -  bad\n"
            "2020-09-13T12:31:00.000+00:00      -  bad\n");
}

TEST_F(Minutes, AnswerDeltasAndWindowsAsTheyAre) {
  Store({"1", "2", "4", "8", "16", "32", "64"});
  const std::pair<std::string, std::string> cases[] = {
      // options and points behind their date
      {"twominutes --function delta --from 1600000020", "1600000080,6,good\n1600000200,24,good\n"},
      {"2M --function delta --no-adjust --from 1600000020",
       "1600000020,3,good\n1600000140,12,good\n1600000260,48,good\n"},
      {"all --function delta --no-adjust --from 1600000020", "1600000020,63,good\n"},
  };
  for (const auto& [options, points] : cases) {
    const ProgramResult result = Query("--format csv --interval " + options);
    EXPECT_EQ(WithoutDate(result.output), "timestamp,value,quality\n" + points) << options;
    EXPECT_EQ(result.error, "") << options;
    EXPECT_EQ(result.status, 0) << options;
  }
}

TEST_F(Minutes, ArePrintedWhenTheyArePartialData) {
  Store({"1", "2", "4"});
  const ProgramResult result =
      Query("--format csv --interval 1m --no-adjust --from 1600000050 --to 1600000110");
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(result.output.find(",1600000050,2,bad\n"), std::string::npos);
  EXPECT_NE(result.error.find("(PartialData, 79)\n"), std::string::npos);
}

TEST_F(Minutes, AnswerNoAverageOfAllWithoutSayingSo) {
  Store({"1", "2", "4"});
  EXPECT_EQ(Query("--interval all --no-adjust --from 1600000020").error,
            "nvx-timeseries: topo:m: warning: the value of FullPeriod is the delta, no average\n");
}

// A local time is read in the zone of the query; where the clocks jump or fall back, once only.
TEST_F(Minutes, AreAskedForInLocalTime) {
  Store({"1"});
  const std::string cases[][2] = {
      {"Europe/Paris --from 2021-03-28 --to 2021-03-28T00:01", "2021-03-28T00:00:00.000+01:00"},
      {"Europe/Paris --from 2021-03-28T02:30 --to 1616900000", "2021-03-28T03:00:00.000+02:00"},
      {"Europe/Paris --from 2021-10-31T02:30 --to 1635643000", "2021-10-31T02:30:00.000+02:00"},
      {"Europe/Paris --from 2021-10-31T02:30:30+01:00 --to 1635644000",
       "2021-10-31T02:31:00.000+01:00"},
      {"Asia/Kolkata --from 2021-10-31T01:30Z --to 1635644000", "2021-10-31T07:00:00.000+05:30"},
      {"Asia/Kolkata --from 2021-10-31T01:30-01:00 --to 1635649000",
       "2021-10-31T08:00:00.000+05:30"},
      {"Asia/Kolkata --from -60 --to 0", "1970-01-01T05:29:00.000+05:30"},
  };
  for (const auto& [options, start] : cases) {
    const ProgramResult result = Query("--interval 1m --format csv --zone " + options);
    EXPECT_EQ(result.output.substr(result.output.find('\n') + 1, start.size()), start) << options;
  }
}

}  // namespace
