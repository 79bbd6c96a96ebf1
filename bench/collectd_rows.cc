// A file of collectd, of which a year is left in rows of seven hours.

#include <rrd.h>

#include <fstream>
#include <memory>

#include "row.h"
#include "samples.h"

namespace Bench {
namespace {

constexpr long long COLLECTD_STEP = 10;
constexpr char VALUE[] = "7";

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
  const std::string ours = directory.GetPath("ours");
  const std::string theirs = directory.GetPath("theirs");
};

// How many lines of a file have the value.
int CountValues(const std::string& path, const std::string& value) {
  std::ifstream file(path);
  int count = 0;
  for (std::string line; std::getline(file, line);) {
    count += line.find(value) != std::string::npos ? 1 : 0;
  }
  return count;
}

Contest EnterDays() {
  const auto year = std::make_shared<CollectdYear>();
  const std::string query = "exec " NVX_COMMAND " query " + year->path +
                            " --interval 1d --format csv --zone " + ZONE + " --from " +
                            std::to_string(START) + " --to " + std::to_string(END) + " >" +
                            year->ours + " 2>/dev/null";
  const std::string xport = "exec rrdtool xport --step 86400 --start " + std::to_string(START) +
                            " --end " + std::to_string(END) + " DEF:v=" + year->path +
                            ":value:AVERAGE XPORT:v >" + year->theirs;
  Contest contest;  // which keeps the directory
  contest.ours.work = [year, query] { RunCommand({"sh", "-c", query}); };
  contest.theirs.work = [year, xport] { RunCommand({"sh", "-c", xport}); };
  contest.ours.work();
  contest.theirs.work();
  constexpr int DAY_COUNT = 365;
  Require(CountValues(year->ours, std::string(",") + VALUE + ",") == DAY_COUNT, "days of ours");
  // What it has in place of days are rows of 29 hours, each of four of the file.
  constexpr int LEAST_COUNT = 290;
  Require(CountValues(year->theirs, "<v>7.0000000000e+00</v>") >= LEAST_COUNT, "rows of theirs");
  return contest;
}

}  // namespace

std::vector<Row> ListCollectdRows() {
  return {{"`nvx-timeseries query` of a year of collectd by local day",
           "`rrdtool xport --step 86400`", AtMost(2.00), EnterDays}};
}

}  // namespace Bench
