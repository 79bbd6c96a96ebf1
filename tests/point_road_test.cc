// query, export, push and the library itself give the same points for the same question, whatever
// the pieces in which a file is read.

#include <gtest/gtest.h>
#include <rrd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "arguments/zone_text.h"
#include "base/words.h"
#include "command/question_options.h"
#include "formats/csv_writer.h"
#include "points/archives.h"
#include "points/point_stream.h"
#include "support/command.h"
#include "support/leaks_of_librrd.h"
#include "support/random.h"
#include "support/temporary_directory.h"
#include "support/transcript.h"

using namespace nvx::TimeSeriesDatabase;
using namespace nvx::TimeSeriesDatabase::CommandLine;

namespace {

constexpr long long BEGIN = 1711800000;  // two days before the clocks change in Europe
constexpr char FIXED_SEED[] = "17";
const std::vector<std::string> ZONES = {"UTC", "Europe/Paris", "Asia/Kolkata",
                                        "Australia/Lord_Howe"};
const std::vector<std::string> INTERVALS = {"1m", "5m",  "6m",  "20m", "30m", "1h", "1d",
                                            "1d", "1mo", "all", "5h",  "2d",  "1w", "1q"};

const std::vector<std::string> DAY_STARTS = {"00:00", "02:30", "06:00"};

struct File {
  std::string zeltId;
  long long step;
  long long sampleCount;
  std::vector<const char*> archives;
};

const std::vector<File> FILES = {
    {"topo:minutes", 60, 9000, {"RRA:LAST:0.9:1:10000"}},
    {"topo:full", 60, 9000, {"RRA:LAST:0.9:1:3000"}},
    {"topo:odd", 7, 5000, {"RRA:LAST:0.9:1:6000"}},
    {"topo:quarters", 900, 4000, {"RRA:LAST:0.9:1:5000"}},
    {"topo:hours", 3600, 3000, {"RRA:LAST:0.9:1:2000"}},
    {"topo:days", 86400, 300, {"RRA:AVERAGE:0.5:1:400", "RRA:AVERAGE:0.5:7:90"}},
    {"topo:many", 60, 9000, {"RRA:AVERAGE:0.5:1:600", "RRA:LAST:0.5:5:700", "RRA:LAST:0.5:60:500"}},
    {"topo:coarse", 60, 3000, {"RRA:LAST:0.5:6:1000", "RRA:LAST:0.5:1:900"}},
    {"topo:single", 60, 1, {"RRA:LAST:0.9:1:100"}},
    {"topo:empty", 60, 0, {"RRA:LAST:0.9:1:100"}},
};

ProgramResult RunCaptured(const std::vector<std::string>& arguments) {
  std::ostringstream output;
  std::ostringstream messages;
  auto* const formerOutput = std::cout.rdbuf(output.rdbuf());
  auto* const formerMessages = std::cerr.rdbuf(messages.rdbuf());
  const int status = RunInProcess(arguments);
  std::cout.rdbuf(formerOutput);
  std::cerr.rdbuf(formerMessages);
  return {status, output.str(), messages.str()};
}

// The lines after the header whose time is later.
std::string LeaveOut(const std::string& text, long long confirmed) {
  std::istringstream lines(text);
  std::string rest;
  for (std::string line; std::getline(lines, line);) {
    const bool isHeader = line[0] == 't';
    rest += isHeader || std::stoll(line) > confirmed ? line + '\n' : "";
  }
  return rest;
}

class PointRoad : public testing::Test {
 protected:
  PointRoad() {
    setenv("NVX_TEST_SEED", FIXED_SEED, 0);  // NOLINT(concurrency-mt-unsafe): no threads
    random = std::make_unique<Random>();
    std::ios::sync_with_stdio(false);  // as in the command, which gives its streams new buffers
    context.directories = {directory.GetPath()};
    for (const File& file : FILES) {
      Make(file);
    }
  }

  void Make(const File& file) const {
    const std::string path = directory.GetPath("topo_" + file.zeltId.substr(5) + ".rrd");
    const std::string source = "DS:element:GAUGE:" + std::to_string(2 * file.step) + ":U:U";
    std::vector<const char*> definitions = {source.c_str()};
    definitions.insert(definitions.end(), file.archives.begin(), file.archives.end());
    const long long first = BEGIN - BEGIN % file.step;
    ASSERT_EQ(rrd_create_r(path.c_str(), static_cast<unsigned long>(file.step), first,
                           static_cast<int>(definitions.size()), definitions.data()),
              0);
    std::map<long long, double> samples;
    for (long long i = 1; i <= file.sampleCount; ++i) {
      if (random->Between(0, 40) > 0) {
        samples[first + i * file.step] = random->Between(0, 500) == 0
                                             ? -std::numeric_limits<double>::infinity()
                                             : static_cast<double>(random->Between(-99, 999)) / 8;
      }
    }
    if (!samples.empty()) {
      ASSERT_EQ(RrdClient().Update(path, samples), StatusCode::Success);
    }
  }

  long long PickTime(const File& file) {
    const long long length = std::max<long long>(file.step * file.sampleCount, 3600);
    const long long time = random->Between(BEGIN - length / 4, BEGIN + length * 5 / 4);
    const long long rounding = random->Pick(std::vector<long long>{1, 60, 1800, 3600, 86400});
    return time - time % rounding;
  }

  std::string PickFunctions() {
    std::vector<std::string> names = GetNames(ListPointFunctions());
    names.emplace_back("p95");
    std::string chosen = random->Pick(names);
    for (const std::string& name : names) {
      chosen +=
          chosen.find(name) == std::string::npos && random->Between(0, 3) == 0 ? "," + name : "";
    }
    return chosen;
  }

  QuestionOptions PickQuestion(const File& file) {
    QuestionOptions options;
    options.zoneName = random->Pick(ZONES);
    if (random->Between(0, 9) > 0) {
      options.interval = random->Pick(INTERVALS);
      if (file.step > 900 && options.interval->back() == 'm') {
        options.interval = "1h";  // otherwise there would be many more points than rows
      }
      options.isUnadjusted = random->Between(0, 5) == 0;
      options.isPartial =
          !options.isUnadjusted && options.interval != "all" && random->Between(0, 4) == 0;
      const std::string& interval = *options.interval;
      if (interval.back() != 'm' && interval.back() != 'h' && interval != "all" &&
          random->Between(0, 2) == 0) {
        options.dayStart = random->Pick(DAY_STARTS);
      }
      if (interval == "1w" && random->Between(0, 1) == 0) {
        options.weekStart = WeekStart::Sunday;
      }
      options.functions = PickFunctions();
    }
    if (random->Between(0, 2) > 0) {
      options.from = std::to_string(PickTime(file));
    }
    if (random->Between(0, 2) > 0) {
      options.to = std::to_string(PickTime(file));
    }
    return options;
  }

  std::vector<std::string> MakeArguments(const std::string& command, const std::string& zeltId,
                                         const std::string& format,
                                         const QuestionOptions& options) const {
    std::vector<std::string> arguments = {
        "-d", directory.GetPath(), command, zeltId, "--format", format, "--zone", options.zoneName};
    const auto add = [&](const std::string& name, const std::optional<std::string>& value) {
      if (value) {
        arguments.insert(arguments.end(), {name, *value});
      }
    };
    add("--from", options.from);
    add("--to", options.to);
    add("--interval", options.interval);
    add("--day-start", options.dayStart);
    if (options.weekStart) {
      add("--week-start", "sunday");
    }
    if (options.interval) {
      add("--function", options.functions);
    }
    if (options.isUnadjusted || options.isPartial) {
      arguments.emplace_back(options.isPartial ? "--partial" : "--no-adjust");
    }
    return arguments;
  }

  static bool HasAverages(const std::string& zeltId) {
    return zeltId == "topo:days" || zeltId == "topo:many";
  }

  // The points that push sends, in the form of export's output.
  ProgramResult Push(const std::string& zeltId, const QuestionOptions& options,
                     std::optional<long long> confirmed) {
    Question question = ReadQuestion(options);
    question.isResumable = true;
    AnswerShape shape;
    shape.names = question.GetValueNames();
    shape.hasQuality = question.interval.has_value();
    shape.isForSeries = true;
    if (!question.interval && HasAverages(zeltId)) {
      shape.labels[CONSOLIDATION_LABEL];
    }
    CsvWriter writer(shape);
    ProgramResult result{0, "", ""};
    try {
      const SelectedFile file{directory.GetPath(), zeltId, {}, ""};
      for (const Source& source : OpenSources(question, file, {}, context)) {
        writer.Begin(MakeSeries(file, source, {}), 0, result.output);
        const auto stream = MakePointStream(question, source, confirmed);
        stream->Stream([&](const Piece& piece) {
          writer.Append(piece, result.output);
          return true;
        });
        result.status = stream->IsPartialData() ? 3 : 0;
      }
    } catch (const CommandError& error) {
      result = {error.GetExitStatus(), "", error.GetText()};
    }
    return result;
  }

  void ExpectAsPushed(const File& file, const QuestionOptions& options,
                      const ProgramResult& exported) {
    const ProgramResult pushed = Push(file.zeltId, options, std::nullopt);
    EXPECT_EQ(pushed.status, exported.status) << pushed.error << exported.error;
    EXPECT_EQ(pushed.output, exported.output);
    const auto lineCount = std::count(exported.output.begin(), exported.output.end(), '\n');
    if (lineCount > 2 && exported.status == 0) {
      std::istringstream lines(exported.output);
      std::string line;
      for (long long i = random->Between(2, lineCount); i > 0; --i) {
        std::getline(lines, line);
      }
      const long long confirmed = std::stoll(line);
      const ProgramResult rest = Push(file.zeltId, options, confirmed);
      EXPECT_EQ(rest.output, LeaveOut(exported.output, confirmed)) << rest.error;
      ++resumed;
    }
  }

  // The library's points for a window whose start lies on a row.
  void ExpectAsFetched(const File& file, const QuestionOptions& options,
                       const ProgramResult& queried) {
    const Question question = ReadQuestion(options);
    TimeWindow window;
    window.start.timeZone = question.zone;
    window.end.timeZone = question.zone;
    window.start.timestamp = std::stoll(*options.from);
    window.end.timestamp = std::stoll(*options.to);
    const CalendarInterval interval = question.interval->GetCalendar();
    std::vector<Date::Date> bounds;
    if ((!options.isUnadjusted &&
         Calendar::AdjustTimeWindow(interval, window) != StatusCode::Success) ||
        Calendar::ListBounds(interval, window, bounds) != StatusCode::Success) {
      EXPECT_EQ(queried.status, 1);
      return;
    }
    const Source source({directory.GetPath(), file.zeltId, {}, ""}, context);
    const auto rowLength = ChooseArchive(source, window.start.timestamp).rowLength;
    const bool isOnRow = window.start.timestamp % rowLength == 0;
    if (!isOnRow && !options.isUnadjusted) {
      return;
    }
    Piece piece(question.functions.size());
    std::vector<std::vector<NumericalDataPoint>> points(question.functions.size());
    StatusCode status = StatusCode::Success;
    for (std::size_t i = 0; i < points.size(); ++i) {
      DataFunction compute = question.functions[i].second.compute;
      if (question.functions[i].second.isIntegral) {
        ASSERT_EQ(DataFunctions::MakeIntegral(static_cast<unsigned long>(rowLength), compute),
                  StatusCode::Success);
      }
      status = context.MakeDataSource(source.path).Fetch(bounds, compute, points[i]);
    }
    if (status != StatusCode::Success && status != StatusCode::PartialData) {
      EXPECT_EQ(queried.status, 1);
      return;
    }
    for (std::size_t row = 0; row < points.front().size(); ++row) {
      piece.AddTime(points.front()[row].date.timestamp);
      for (const auto& column : points) {
        piece.AddValue({column[row].value, column[row].quality});
      }
    }
    AnswerShape shape;
    shape.zone = question.zone;
    shape.names = question.GetValueNames();
    CsvWriter writer(shape);
    std::string expected;
    writer.Begin({file.zeltId, {}, "", "topo"}, 0, expected);
    writer.Append(piece, expected);
    EXPECT_EQ(queried.output, expected);
    EXPECT_EQ(queried.status, status == StatusCode::Success ? 0 : 3);
    ++fetched;
  }

  TemporaryDirectory directory;
  Context context;
  std::unique_ptr<Random> random;
  int resumed = 0;
  int fetched = 0;
};

TEST_F(PointRoad, IsTheSameForEveryCommand) {
  constexpr int COUNT = IS_SLOW != 0 ? 200 : 1200;
  int answered = 0;
  for (int i = 0; i < COUNT && !HasFailure(); ++i) {
    const File& file = random->Pick(FILES);
    const QuestionOptions options = PickQuestion(file);
    SCOPED_TRACE("question " + std::to_string(i) + ": " +
                 Join(MakeArguments("export", file.zeltId, "csv", options), " "));
    const auto ask = [&](const char* command, const char* format) {
      return RunCaptured(MakeArguments(command, file.zeltId, format, options));
    };
    const ProgramResult exported = ask("export", "csv");
    answered += exported.status != 1 ? 1 : 0;
    if (options.interval) {
      for (const char* const format : {"table", "line-protocol"}) {
        EXPECT_EQ(Show(ask("query", format)), Show(ask("export", format))) << format;
      }
      const ProgramResult queried = ask("query", "csv");
      EXPECT_EQ(queried.status, exported.status) << queried.error << exported.error;
      if (options.from && options.to && options.interval != "all" && !options.isPartial &&
          queried.status != 2 && !HasAverages(file.zeltId)) {
        ExpectAsFetched(file, options, queried);
      }
    }
    const bool isLater = options.to && std::stoll(*options.to) >
                                           BEGIN - 2 * file.step + file.step * file.sampleCount;
    if (exported.status != 2 && options.interval != "all" && !options.isUnadjusted &&
        !options.isPartial && !isLater) {
      ExpectAsPushed(file, options, exported);
    }
  }
  std::cout << answered << " answered, " << fetched << " as the library, " << resumed
            << " resumed\n";
  EXPECT_GT(answered, COUNT / 3);
  EXPECT_GT(fetched, COUNT / 30);
  EXPECT_GT(resumed, COUNT / 10);
}

TEST_F(PointRoad, GivesInPiecesWhatOneFetchGives) {
  constexpr long long ROWS = 2'300'000;  // more than are read at once
  const File file{"topo:long", 1, 0, {"RRA:MAX:0.5:1:40000", "RRA:LAST:0.9:2:1200000"}};
  Make(file);
  for (long long begin = BEGIN + 100; begin < BEGIN + ROWS; begin += 230'000) {
    std::map<long long, double> samples;
    for (long long i = 0; i < 20'000; ++i) {
      samples[begin + i] = static_cast<double>(i % 100);
    }
    ASSERT_EQ(RrdClient().Update(directory.GetPath("topo_long.rrd"), samples), StatusCode::Success);
  }
  for (const char* const interval : {"1m", "20m", "1d"}) {
    QuestionOptions options;
    options.interval = interval;
    options.functions = Join(GetNames(ListPointFunctions()), ",");
    options.from = std::to_string(BEGIN - BEGIN % 86400);
    options.to = std::to_string(BEGIN - BEGIN % 86400 + 25 * 86400);
    SCOPED_TRACE(interval);
    ExpectAsFetched(file, options,
                    RunCaptured(MakeArguments("query", file.zeltId, "csv", options)));
  }
  EXPECT_EQ(fetched, 3);
}

TEST_F(PointRoad, OpensAFileFewTimes) {
  const std::string path = directory.GetPath("topo_minutes.rrd");
  const std::vector<std::vector<std::string>> questions = {
      {"query", "--interval", "1h", "--from", std::to_string(BEGIN), "--function",
       "average,minimum,maximum,delta"},
      {"query", "--interval", "1d"},
      {"query", "--interval", "all", "--function", "average,sum,delta"},
      {"query", "--interval", "1h", "--from", "first", "--partial"},
      {"export", "--format", "json", "--interval", "5m", "--function", "sum,count"},
      {"export", "--format", "csv"},
  };
  for (std::vector<std::string> question : questions) {
    SCOPED_TRACE(Join(question, " "));
    question.insert(question.end(), {"-d", directory.GetPath(), "topo:minutes"});
    const int watch = inotify_init1(IN_NONBLOCK);
    inotify_add_watch(watch, path.c_str(), IN_OPEN | IN_CLOSE);  // equal events would be merged
    EXPECT_EQ(RunCaptured(question).status, 0);
    inotify_event event{};
    int openCount = 0;
    while (read(watch, &event, sizeof event) == sizeof event) {
      openCount += (event.mask & IN_OPEN) != 0 ? 1 : 0;
    }
    close(watch);
    EXPECT_GE(openCount, 1);
    EXPECT_LE(openCount, 5);
  }
}

}  // namespace
