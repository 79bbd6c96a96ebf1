#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

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
      ASSERT_EQ(commandLine
                    ->Run({"create", id, "--step", "3600", "--rows", "8760", "--start",
                           "2010-01-01T08:00Z"})
                    .status,
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
  EXPECT_EQ(commandLine->Run({"list"}).output, "topo:pressure\ntopo:temperature\ntopo:wind\n");
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
      const ProgramResult query =
          commandLine->Run({"query", "topo:" + column, "--interval", "1d", "--zone", zone, "--from",
                            "2010-01-01T09:00Z", "--format", "csv"});
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
  const ProgramResult read = commandLine->Run(
      {"query", "topo:wind", "--interval", "1h", "--format", "csv", "--from", "1262336400"});
  const auto hours = ReadPairs(WithoutDate(read.output), ',');
  ASSERT_EQ(hours.size(), 8758u);  // the last sample only ends an hour
  for (std::size_t i = 0; i < hours.size(); ++i) {
    ASSERT_EQ(hours[i].first, written[i].first);
    ASSERT_NEAR(hours[i].second, written[i].second, 1e-9);
  }
}

TEST_F(Weather, InfoIsWhatRrdtoolSays) {
  const auto info =
      nlohmann::json::parse(commandLine->Run({"info", "topo:wind", "--format", "json"}).output);
  const std::string path = commandLine->GetPath("topo_wind.rrd");
  EXPECT_EQ(info,
            (nlohmann::json{
                {"path", path},
                {"step", 3600},
                {"interval", "Hour"},
                {"first", {{"date", "2010-01-01T08:00:00.000+00:00"}, {"timestamp", 1262332800}}},
                {"last", {{"date", "2011-01-01T07:00:00.000+00:00"}, {"timestamp", 1293865200}}}}));
  const std::string said = RunProgram({"rrdtool", "info", path}).output;
  for (const char* line :
       {"step = 3600\n", "last_update = 1293865200\n", "ds[element].type = \"GAUGE\"\n",
        "ds[element].minimal_heartbeat = 7200\n", "ds[element].min = NaN\n",
        "rra[0].cf = \"LAST\"\n", "rra[0].rows = 8760\n"}) {
    EXPECT_NE(said.find(line), std::string::npos) << line;
  }
}

TEST_F(Weather, IsPrintedAsCsvAndJson) {
  const auto query = [](const std::string& format) {
    return commandLine
        ->Run({"query", "topo:temperature", "--interval", "Month", "--zone", "America/Los_Angeles",
               "--from", "2010-11-01", "--to", "2011-02-01", "--format", format})
        .output;
  };
  const std::string csv = query("csv");
  EXPECT_EQ(csv.substr(0, csv.find("7.3")),
            "date,timestamp,value,quality\n2010-11-01T00:00:00.000-07:00,1288594800,");
  const auto points = nlohmann::json::parse(query("json"));
  ASSERT_EQ(points.size(), 3u);
  std::string rebuilt = "date,timestamp,value,quality\n";
  for (const auto& point : points) {
    EXPECT_EQ(point.size(), 4u);
    const std::size_t line = rebuilt.size();
    rebuilt += point["date"].get<std::string>() + "," + point["timestamp"].dump() + ",";
    ASSERT_EQ(csv.substr(0, rebuilt.size()), rebuilt) << line;
    const std::string rest = csv.substr(rebuilt.size());
    const std::string value = rest.substr(0, rest.find(','));
    if (point["value"].is_null()) {
      EXPECT_EQ(value, "nan");
    } else {
      EXPECT_EQ(std::stod(value), point["value"].get<double>());
    }
    rebuilt += value + "," + point["quality"].get<std::string>() + "\n";
  }
  EXPECT_EQ(csv, rebuilt);
  EXPECT_TRUE(points[2]["value"].is_null() || points[2]["quality"] == "bad");
}

// Steps of a minute from 2020-09-13T12:27:00Z on.
class Minutes : public testing::Test {
 protected:
  void Store(const std::vector<std::string>& values) {
    ASSERT_EQ(commandLine
                  .Run({"create", "topo:m", "--step", "60", "--rows", "100", "--start",
                        "2020-09-13T12:26"})
                  .status,
              0);
    std::string csv = "time,value\n";
    long long time = 1600000020;
    for (const std::string& value : values) {
      csv += std::to_string(time) + "," + value + "\n";
      time += 60;
    }
    ASSERT_EQ(commandLine.Run({"update", "topo:m", "--csv", "-"}, csv).status, 0);
  }

  ProgramResult Query(const std::string& options, const std::string& columns = "") {
    return commandLine.Run(SplitWords("query topo:m " + options), "", {"COLUMNS=" + columns});
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
  const struct {
    const char* options;
    int status;
    const char* points;  // behind the date
  } cases[] = {
      {"--interval twominutes --function delta --from 1600000020", 0,
       "1600000080,6,good\n1600000200,24,good\n"},
      {"--interval 2M --function delta --no-adjust --from 1600000020", 0,
       "1600000020,3,good\n1600000140,12,good\n1600000260,48,good\n"},
      {"--interval all --function delta --no-adjust --from 1600000020", 0, "1600000020,63,good\n"},
      {"--interval 1m --no-adjust --from 1600000050 --to 1600000170", 3,
       "1600000050,2,bad\n1600000110,4,bad\n"},
  };
  for (const auto& test : cases) {
    const ProgramResult result = Query(std::string("--format csv ") + test.options);
    EXPECT_EQ(result.status, test.status) << test.options;
    EXPECT_EQ(WithoutDate(result.output), std::string("timestamp,value,quality\n") + test.points)
        << test.options;
    EXPECT_EQ(result.error.empty(), test.status == 0) << result.error;
  }
}

TEST_F(Minutes, AnswerNoAverageOfAllWithoutSayingSo) {
  Store({"1", "2", "4"});
  EXPECT_EQ(Query("--interval all --no-adjust --from 1600000020").error,
            "nvx-timeseries: topo:m: warning: the value of FullPeriod is the delta, no average\n");
}

// A local time is read in the zone of the query; where the clocks jump or fall back, once only.
TEST_F(Minutes, AreAskedForInLocalTime) {
  Store({"1"});
  const struct {
    const char* from;
    const char* to;
    const char* zone;
    const char* start;
  } cases[] = {
      {"2021-03-28", "2021-03-28T00:01", "Europe/Paris", "2021-03-28T00:00:00.000+01:00"},
      {"2021-03-28T02:30", "2021-03-28T03:05", "Europe/Paris", "2021-03-28T03:00:00.000+02:00"},
      {"2021-10-31T02:30", "2021-10-31T02:35", "Europe/Paris", "2021-10-31T02:30:00.000+02:00"},
      {"2021-10-31T02:30:30+01:00", "2021-10-31T02:35:00+01:00", "Europe/Paris",
       "2021-10-31T02:31:00.000+01:00"},
      {"1635643800", "1635644000", "Asia/Kolkata", "2021-10-31T07:00:00.000+05:30"},
      {"2021-10-31T01:30Z", "2021-10-31T01:40Z", "UTC", "2021-10-31T01:30:00.000+00:00"},
  };
  for (const auto& test : cases) {
    const ProgramResult result = Query(std::string("--interval 1m --format csv --from ") +
                                       test.from + " --to " + test.to + " --zone " + test.zone);
    EXPECT_EQ(result.output.substr(result.output.find('\n') + 1, 29), test.start)
        << test.from << result.error;
  }
}

}  // namespace
