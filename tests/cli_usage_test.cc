#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/command_line.h"

namespace {

class Usage : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Run("create topo:m --step 60 --rows 100 --start 2020-09-13").status, 0);
    ASSERT_EQ(Run("update topo:m 2020-09-13T00:01:1").status, 0);
    ASSERT_EQ(Run("create topo:d --step 86400 --rows 99999").status, 0);
    commandLine.WriteFile("topo_text.rrd", "no round robin");
    commandLine.WriteFile("topo_cut.rrd", commandLine.ReadFile("topo_m.rrd").substr(0, 700));
    commandLine.WriteFile("topo_empty.rrd", "");
  }

  ProgramResult Run(const std::string& command) const { return commandLine.Run(command); }

  std::vector<std::string> ListFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(commandLine.GetPath(""))) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  CommandLine commandLine;
};

TEST_F(Usage, AnswersBadInputWithOneLine) {
  const std::string create = "create topo:new --step ";
  const std::string day = "query topo:m --interval 1d ";
  const std::string cases[][3] = {
      // command, start of the line and its end
      {"list -d /dev/null/x", "/dev/null/x: the directory cannot be read", "NotFound, 2"},
      {"info topo:x", "topo:x: no such data source", "NotFound, 2"},
      {"migrate topo:x --step 1 --rows 1", "topo:x: no such data source", "NotFound, 2"},
      {"update topo:x 1:1", "topo:x: no such data source", "NotFound, 2"},
      {"query topo:x --interval 1d", "topo:x: no such data source", "NotFound, 2"},
      {"info x", "x: not an id", "InvalidArgument, 28"},
      {"update other:x 1:1", "other:x: not an id", "InvalidArgument, 28"},
      {"info topo:../../x", "topo:../../x: an id with '/'", "InvalidArgument, 28"},
      {"create topo:../x --step 1 --rows 1", "topo:../x: an id with '/'", "InvalidArgument, 28"},
      {"info topo:text", "topo:text: its step cannot be read", "Failure, 1"},
      {"query topo:empty --interval 1d", "topo:empty: its first timestamp", "Failure, 1"},
      {"query topo:cut --interval 1d --from 0 --to 864000", "topo:cut: its step", "Failure, 1"},
      {"update topo:cut 1:1", "topo:cut: ", "Failure, 1"},
      {"migrate topo:text --step 1 --rows 1", "topo:text: ", "Failure, 1"},
      {create + "0 --rows 9", "topo:new: step must be from 1", "InvalidArgument, 28"},
      {create + "-1 --rows 9", "topo:new: step must be from 1", "InvalidArgument, 28"},
      {create + "60 --rows 0", "topo:new: rows must be from 1", "InvalidArgument, 28"},
      {create + "60 --rows 4294967297", "topo:new: rows must be", "InvalidArgument, 28"},
      {create + "10000000000 --rows 99", "topo:new: step must be", "InvalidArgument, 28"},
      {create + "60 --rows 9 --min 2 --max 2", "topo:new: min must be", "InvalidArgument, 28"},
      {create + "60 --rows 9 --max inf", "topo:new: a bound must be", "InvalidArgument, 28"},
      {create + "60 --rows 9 --start -1", "topo:new: start must be", "InvalidArgument, 28"},
      {create + "60 --rows 9 --start noon", "noon: not a time", "InvalidArgument, 28"},
      {create + "60 --rows 9 --zone No/Zone", "No/Zone: unknown time", "InvalidArgument, 28"},
      {"create topo:new -d /dev/null --step 60 --rows 9", "topo:new: ", "Failure, 1"},
      {"update topo:m 2020-09-13T01:00", "2020-09-13T01:00: not TIME:", "InvalidArgument, 28"},
      {"update topo:m 2020-09-13T01:00:30", "2020-09-13T01:00:30: not", "InvalidArgument, 28"},
      {"update topo:m 1600000000", "1600000000: not TIME:VALUE", "InvalidArgument, 28"},
      {"update topo:m 1600000000:x", "1600000000:x: the value", "InvalidArgument, 28"},
      {"update topo:m 1600000000:-inf", "1600000000:-inf: the value", "InvalidArgument, 28"},
      {"update topo:m x:1", "x: not a time", "InvalidArgument, 28"},
      {"update topo:m 1700000000:1 1700000000:2", "1700000000:2: its time", "InvalidArgument, 28"},
      {"update topo:m --csv /no/file", "/no/file: cannot be opened", "CannotOpen, 42"},
      {"update topo:m --csv /", "/: cannot be read", "IoError, 9"},
      {"query topo:m --interval week", "week: unknown interval", "InvalidArgument, 28"},
      {day + "--zone No/Zone", "No/Zone: unknown time zone", "InvalidArgument, 28"},
      {day + "--from 2021-02-29", "2021-02-29: not a time", "InvalidArgument, 28"},
      {day + "--to 253402300800", "253402300800: not a time", "InvalidArgument, 28"},
      {day + "--to 0000-12-31", "0000-12-31: not a time", "InvalidArgument, 28"},
      {day + "--from 2021 --to 2021", "topo:m: from is not before", "InvalidArgument, 28"},
      {day + "--from 2020-09-13 --to 2020-09-12", "topo:m: from is not", "InvalidArgument, 28"},
      {day + "--from 0 --to 86399", "topo:m: no complete Day in 1970", "InvalidArgument, 28"},
      {day + "--from 0 --to 86401 --no-adjust", "topo:m: no interval ends", "OutOfRange, 71"},
      {"query topo:m --interval 1m --to 9999-12-31",
       "topo:m: the window is too long; the file covers 2020-09-12T22:22:00.000+00:00 - "
       "2020-09-13T00:01:00.000+00:00",
       "OutOfRange, 71"},
      {"query topo:d --interval 1m --from 1900-01-01", "topo:d: the window", "OutOfRange, 71"},
      {"query topo:m --interval 1d --from 0001-01-01", "topo:m: the window", "OutOfRange, 71"},
  };
  const std::vector<std::string> files = ListFiles();
  const std::string content = commandLine.ReadFile("topo_m.rrd");
  for (const auto& [command, subject, status] : cases) {
    const ProgramResult result = Run(command);
    const std::string start = "nvx-timeseries: " + subject;
    const std::string end = " (" + status + ")\n";
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_EQ(result.output, "") << command;
    EXPECT_EQ(result.error.find('\n') + 1, result.error.size()) << result.error;
    EXPECT_EQ(result.error.substr(0, start.size()), start);
    EXPECT_EQ(result.error.substr(std::max(result.error.size(), end.size()) - end.size()), end);
  }
  EXPECT_EQ(ListFiles(), files);
  EXPECT_EQ(commandLine.ReadFile("topo_m.rrd"), content);
}

TEST_F(Usage, AnswersWrongUsageWith2) {
  for (const char* command :
       {"", "nonsense", "list --nonsense", "list --log-level loud", "info", "create topo:x",
        "create topo:x --step one --rows 1", "info topo:m --format xml", "query topo:m",
        "query topo:m --interval 1d --function sum", "update topo:m", "update topo:m 1:1 --csv -",
        "update topo:m 1:1 --column a"}) {
    const ProgramResult result = Run(command);
    EXPECT_EQ(result.status, 2) << command;
    EXPECT_EQ(result.output, "") << command;
    EXPECT_EQ(result.error.substr(0, 16), "nvx-timeseries: ") << command;
  }
}

TEST_F(Usage, HelpsEverywhere) {
  for (const char* command : {"", "create", "migrate", "update", "list", "info", "query"}) {
    const ProgramResult result = Run(std::string(command) + " --help");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("Usage: nvx-timeseries " + std::string(command)),
              std::string::npos);
  }
  EXPECT_EQ(Run("--version").output, "nvx-timeseries " NVX_TIMESERIES_VERSION "\n");
}

TEST_F(Usage, TakesTheDirectoryFromTheEnvironment) {
  const auto list = [](const std::string& variable) {
    return RunProgram({NVX_TIMESERIES, "list"}, "", {"NVX_TIMESERIES_DATABASE=" + variable});
  };
  EXPECT_EQ(list(commandLine.GetPath("")).output,
            "topo:cut\ntopo:d\ntopo:empty\ntopo:m\ntopo:text\n");
  EXPECT_EQ(list("/dev/null/x").status, 1);
  const TemporaryDirectory other;
  EXPECT_EQ(RunProgram({NVX_TIMESERIES, "list", "-d", other.GetPath()}).output, "");
}

TEST_F(Usage, LogsAtTheLevelAskedFor) {
  const auto info = [this](const std::string& level) {
    return RunProgram({NVX_TIMESERIES, "-d", commandLine.GetPath(""), "--log-level", level, "info",
                       "topo:text"})
        .error;
  };
  const std::string line = "nvx-timeseries: topo:text: its step cannot be read (Failure, 1)\n";
  EXPECT_EQ(info("none"), line);
  EXPECT_NE(info("error").find("Failed to read information from"), std::string::npos);
  EXPECT_EQ(info("error").find("trying with rrd"), std::string::npos);
  EXPECT_NE(info("info").find("trying with rrd"), std::string::npos);
}

TEST_F(Usage, SaysThatOutputIsLost) {
  const std::string run = std::string(NVX_TIMESERIES) + " -d " + commandLine.GetPath("");
  for (const std::string& command :
       {run + " info topo:m >/dev/full", run + " info topo:m >&-", run + " --version >/dev/full",
        "{ sleep 0.2; " + run + " list; echo $? >&2; } | true; sleep 0.4; exit 1"}) {
    const ProgramResult result = RunProgram({"sh", "-c", command});
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_EQ(result.error.substr(0, result.error.find('\n')),
              "nvx-timeseries: standard output: cannot be written (IoError, 9)")
        << command;
  }
}

}  // namespace
