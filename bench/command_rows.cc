// The command as a whole process, beside other programs that answer the same.

#include <rrd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <memory>

#include "duckdb.h"
#include "row.h"
#include "samples.h"

namespace Bench {
namespace {

constexpr long long COLLECTD_STEP = 10;
constexpr char VALUE[] = "7";

// A file of collectd, of which a year is left in rows of seven hours.
struct CollectdYear {
  CollectdYear() {
    std::vector<std::string> texts = {"DS:value:GAUGE:20:0:U"};
    for (const char* const archive : {"1:1200", "7:1235", "50:1210", "223:1202", "2635:1201"}) {
      for (const char* const function : {"AVERAGE", "MIN", "MAX"}) {
        texts.push_back(std::string("RRA:") + function + ":0.1:" + archive);
      }
    }
    Call(texts, [this](int count, const char** definitions) {
      return rrd_create_r(path.c_str(), COLLECTD_STEP, UTC_START - 1, count, definitions);
    });
    constexpr long long BATCH_LENGTH = 10000 * COLLECTD_STEP;
    for (long long start = UTC_START; start <= UTC_END; start += BATCH_LENGTH) {
      texts.clear();
      for (long long time = start; time < start + BATCH_LENGTH; time += COLLECTD_STEP) {
        texts.push_back(std::to_string(time) + ':' + VALUE);
      }
      Call(texts, [this](int count, const char** samples) {
        return rrd_update_r(path.c_str(), nullptr, count, samples);
      });
    }
  }

  template <typename Operation>
  void Call(const std::vector<std::string>& texts, const Operation& operation) {
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts) {
      pointers.push_back(text.c_str());
    }
    Require(operation(static_cast<int>(pointers.size()), pointers.data()) == 0, "a collectd file");
  }

  Directory directory;
  const std::string path = directory.GetPath("load.rrd");
};

// How many lines of a file have the text.
int CountLines(const std::string& path, const std::string& text) {
  std::ifstream file(path);
  int count = 0;
  for (std::string line; std::getline(file, line);) {
    count += line.find(text) != std::string::npos ? 1 : 0;
  }
  return count;
}

// What both sides read, as long as it is needed, and write.
struct Files {
  explicit Files(std::shared_ptr<const void> what) : input(std::move(what)) {}

  std::shared_ptr<const void> input;
  Directory directory;
  const std::string ours = directory.GetPath("ours");
  const std::string theirs = directory.GetPath("theirs");
};

// A side that runs a command once now.
Side Run(const std::shared_ptr<Files>& files, const std::string& command,
         const std::string& output) {
  const std::string line = "exec " + command + " >" + output + " 2>/dev/null";
  Side side{[files, line] { RunCommand({"sh", "-c", line}); }};
  side.work();
  return side;
}

std::string GetBounds(const char* from, const char* to) {
  return std::string(" ") + from + " " + std::to_string(START) + " " + to + " " +
         std::to_string(END);
}

// What the rival has in place of local days are days of UTC, or longer rows.
Contest EnterDays(std::shared_ptr<const void> input, const std::string& path,
                  const std::string& source, int leastCount) {
  const auto files = std::make_shared<Files>(std::move(input));
  Contest contest{Run(files,
                      NVX_COMMAND " query " + path + " --interval 1d --format csv --zone " + ZONE +
                          GetBounds("--from", "--to"),
                      files->ours),
                  Run(files,
                      "rrdtool xport --step 86400" + GetBounds("--start", "--end") +
                          " DEF:v=" + path + ":" + source + " XPORT:v",
                      files->theirs)};
  constexpr int DAY_COUNT = 365;
  Require(CountLines(files->ours, "T00:00:00") == DAY_COUNT, "days of ours");
  Require(CountLines(files->ours, ",nan,") == 0, "values of ours");
  Require(CountLines(files->theirs, "<v>") >= leastCount, "rows of theirs");
  return contest;
}

Contest EnterCollectdDays() {
  const auto year = std::make_shared<CollectdYear>();
  constexpr int ROWS_OF_29_HOURS = 290;
  return EnterDays(year, year->path, "value:AVERAGE", ROWS_OF_29_HOURS);
}

Contest EnterDaysOfMinutes() {
  const auto year = std::make_shared<Year>();
  constexpr int DAY_COUNT = 365;
  return EnterDays(year, year->GetPath(), "element:LAST", DAY_COUNT);
}

constexpr int LINE_COUNT = (UTC_END - START) / STEP + 1;

Side ExportLines(const std::shared_ptr<Files>& files, const Year& year) {
  Side side =
      Run(files, NVX_COMMAND " export " + year.GetPath() + " --format line-protocol", files->ours);
  Require(CountLines(files->ours, "value=") == LINE_COUNT, "lines");
  return side;
}

Contest EnterDump() {
  const auto year = std::make_shared<Year>();
  const auto files = std::make_shared<Files>(year);
  Side dump = Run(files, "rrdtool dump " + year->GetPath(), files->theirs);
  Require(CountLines(files->theirs, "<row>") == LINE_COUNT, "dumped rows");
  return {ExportLines(files, *year), dump};
}

// Values by time; the time begins or ends a line.
std::map<long long, double> ReadLines(const std::string& path, const std::string& beforeValue,
                                      bool isTimeFirst) {
  std::ifstream file(path);
  std::map<long long, double> values;
  for (std::string line; std::getline(file, line);) {
    const std::size_t value = line.find(beforeValue) + beforeValue.size();
    const std::size_t time = isTimeFirst ? 0 : line.rfind(' ');
    values[std::stoll(line.substr(time))] = std::stod(line.substr(value));
  }
  return values;
}

// The rival has no process to start, nor a file to open.
Contest EnterCopy() {
  const auto year = std::make_shared<Year>();
  const auto files = std::make_shared<Files>(year);
  const auto duckDb = std::make_shared<DuckDb>();
  duckDb->Run("CREATE TABLE samples(time BIGINT, value DOUBLE)");
  duckDb->Append("samples", MakeSamples(START, UTC_END));
  const std::string copy = "COPY samples TO '" + files->theirs + "' (FORMAT csv, HEADER false)";
  duckDb->Run(copy);
  Contest contest{ExportLines(files, *year), {[files, duckDb, copy] { duckDb->Run(copy); }}};
  const auto ours = ReadLines(files->ours, "value=", false);
  const auto theirs = ReadLines(files->theirs, ",", true);
  // A file of the RRD library keeps six digits after the point.
  const auto isSame = [](const auto& one, const auto& other) {
    return one.first == other.first && std::abs(one.second - other.second) < 1e-6;
  };
  Require(std::equal(ours.begin(), ours.end(), theirs.begin(), theirs.end(), isSame),
          "copied rows");
  return contest;
}

}  // namespace

std::vector<Row> ListCommandRows() {
  const std::string query = "`nvx-timeseries query` of a year of ";
  const std::string xport = "`rrdtool xport --step 86400`";
  const std::string lines = "`nvx-timeseries export` of a year of minutes as line protocol";
  return {
      {query + "collectd by local day", xport, AtMost(2.00), EnterCollectdDays},
      {query + "minutes by local day", xport, AtMost(2.00), EnterDaysOfMinutes},
      {lines, "`rrdtool dump`", AtMost(1.00), EnterDump, LINE_COUNT},
      {lines, "DuckDB, one thread, `COPY TO` CSV in process", AtMost(2.00), EnterCopy, LINE_COUNT},
  };
}

}  // namespace Bench
