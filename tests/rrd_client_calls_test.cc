// What RrdClient makes of every answer of the RRD library. The functions below take the place of
// the library's own in this program, so that it can give answers that no real file produces.

#include <rrd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "support/log_capture.h"
#include "support/table.h"
#include "timeseries/rrd_client.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

struct StandIn {
  long result = 0;  // of the call, or the timestamp that it returns
  std::vector<std::pair<std::string, rrd_info_type_t>> information;
  time_t start = 0;
  time_t end = 0;
  unsigned long step = 0;
  unsigned long rows = 0;  // 0: no buffer
  Lines calls;
  int errorsRead = 0;
  int errorsCleared = 0;
  int listsFreed = 0;
} rrd;

template <typename... Parts>
int Answer(const Parts&... parts) {
  std::ostringstream call;
  const char* separator = "";
  ((call << separator << parts, separator = " "), ...);
  rrd.calls.push_back(call.str());
  return static_cast<int>(rrd.result);
}

std::string Join(int count, const char** texts) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += (i == 0 ? "" : " ") + std::string(texts[i]);
  }
  return all;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {
char* rrd_get_error() {
  static char text[] = "broken";
  ++rrd.errorsRead;
  return text;
}

void rrd_clear_error() { ++rrd.errorsCleared; }

time_t rrd_first_r(const char* path, const int archive) { return Answer("first", path, archive); }

time_t rrd_last_r(const char* path) { return Answer("last", path); }

rrd_info_t* rrd_info_r(const char* path) {
  Answer("info", path);
  rrd_info_t* list = nullptr;
  for (std::size_t i = rrd.information.size(); i > 0; --i) {
    auto* entry = static_cast<rrd_info_t*>(std::calloc(1, sizeof(rrd_info_t)));
    entry->key = strdup(rrd.information[i - 1].first.c_str());
    entry->type = rrd.information[i - 1].second;
    entry->value.u_cnt = i * 100;
    entry->next = list;
    list = entry;
  }
  return list;
}

void rrd_info_free(rrd_info_t* list) {
  ++rrd.listsFreed;
  while (list != nullptr) {
    rrd_info_t* const next = list->next;
    std::free(list->key);
    std::free(list);
    list = next;
  }
}

int rrd_fetch_r(const char* path, const char* function, time_t* start, time_t* end,
                unsigned long* step, unsigned long* count, char*** names, rrd_value_t** data) {
  if (Answer("fetch", path, function, *start, *end, *step) == -1) {
    return -1;
  }
  *start = rrd.start;
  *end = rrd.end;
  *step = rrd.step;
  *count = 2;
  *names = static_cast<char**>(std::calloc(2, sizeof(char*)));
  (*names)[0] = strdup("element");
  (*names)[1] = strdup("other");
  *data = rrd.rows == 0 ? nullptr : static_cast<double*>(std::calloc(rrd.rows, sizeof(double)));
  return 0;
}

int rrd_create_r(const char* path, unsigned long step, time_t start, int count,
                 const char** texts) {
  return Answer("create", path, step, start, Join(count, texts));
}

int rrd_create_r2(const char* path, unsigned long step, time_t start, int noOverwrite,
                  const char** sources, const char* pattern, int count, const char** texts) {
  EXPECT_TRUE(sources[1] == nullptr && pattern == nullptr);
  return Answer("create2", path, step, start, noOverwrite, sources[0], Join(count, texts));
}

int rrd_update_r(const char* path, const char* pattern, int count, const char** texts) {
  EXPECT_EQ(pattern, nullptr);
  return count == 0 ? Answer("update", path) : Answer("update", path, Join(count, texts));
}
}
#pragma GCC visibility pop

namespace {

const std::string PATH = "/proc/version";  // a file that nothing can replace
const std::string COMPONENT = "[TimeSeriesDatabase::RrdClient]";
const RrdClient client;

StandIn Fetching(time_t start, time_t end, unsigned long step, unsigned long rows) {
  StandIn answers;
  answers.start = start;
  answers.end = end;
  answers.step = step;
  answers.rows = rows;
  return answers;
}

StandIn ReadAnswers(const std::string& text) {
  StandIn answers;
  std::istringstream numbers(text);
  if (text.find(' ') == std::string::npos) {
    numbers >> answers.result;
  } else {
    numbers >> answers.start >> answers.end >> answers.step >> answers.rows;
  }
  return answers;
}

// Performs an operation of the table and holds what it must leave as it was.
StatusCode Perform(const std::string& name) {
  const std::map<long long, double> samples = {{1700000060, 1.5}, {1700000000, 2}};
  if (name == "GetInterval") {
    unsigned long interval = 7;
    const StatusCode rc = client.GetInterval(PATH, interval);
    EXPECT_EQ(interval, 7u);
    return rc;
  }
  if (name == "GetLastTimestamp" || name == "GetFirstTimestamp") {
    long long timestamp = 7;
    const StatusCode rc = name == "GetLastTimestamp" ? client.GetLastTimestamp(PATH, timestamp)
                                                     : client.GetFirstTimestamp(PATH, 3, timestamp);
    EXPECT_EQ(timestamp, rrd.result);
    return rc;
  }
  if (name == "Fetch") {
    Rrd::FetchResult result;
    const StatusCode rc = client.Fetch(PATH, 600, 1200, result);
    EXPECT_TRUE(result.GetData() == nullptr && result.GetStartTime() == 0);
    return rc;
  }
  return name == "Create"          ? client.Create(PATH, 300, 1700000000, -40.5, NAN, 2016)
         : name == "Migrate"       ? client.Migrate(PATH, 300, 1700000000, -40.5, NAN, 2016)
         : name == "Update"        ? client.Update(PATH, samples)
         : name == "Update of one" ? client.Update(PATH, {{-5, -INFINITY}})
                                   : client.Update(PATH, {});
}

TEST(RrdClientCalls, EveryAnswerIsReportedAtItsLevelAndNotBelow) {
  for (const auto& row : ReadTable("rrd_calls.txt")) {
    const int lineLevel = std::stoi(row[4]);
    for (const int level : {lineLevel - 1, lineLevel}) {
      SCOPED_TRACE(row[0] + ": " + row[1] + " at level " + std::to_string(level));
      rrd = ReadAnswers(row[1]);
      LogCapture log(level);
      EXPECT_EQ(static_cast<int>(Perform(row[0])), std::stoi(row[2]));
      EXPECT_EQ(rrd.calls, Lines{row[6]});
      EXPECT_EQ(rrd.errorsCleared, row[3] == "cleared" ? 1 : 0);
      const bool isQuoted = level == lineLevel && row[5].find("broken") != std::string::npos;
      EXPECT_EQ(rrd.errorsRead, isQuoted ? 1 : 0);
      const std::string operation = row[0].substr(0, row[0].find(' '));
      const std::string line = row[4] + COMPONENT + " " + operation + ": " + row[5];
      EXPECT_EQ(log.Take(), level == lineLevel ? Lines{line} : Lines{});
    }
  }
}

TEST(RrdClientCalls, IntervalIsTheFirstCountNamedStep) {
  const std::string notFound =
      "3" + COMPONENT + " GetInterval: Failed to find keyword [step] in [/proc/version]";
  struct Case {
    std::vector<std::pair<std::string, rrd_info_type_t>> information;
    unsigned long interval;  // 0: not found
  };
  const Case cases[] = {
      {{{"filename", RD_I_STR}, {"step", RD_I_CNT}}, 200},
      {{{"step", RD_I_VAL}, {"steps", RD_I_CNT}, {"step", RD_I_CNT}, {"step", RD_I_CNT}}, 300},
      {{{"step", RD_I_INT}, {"STEP", RD_I_CNT}}, 0},
  };
  for (const Case& expected : cases) {
    rrd = {};
    rrd.information = expected.information;
    LogCapture log(3);
    unsigned long interval = 0;
    const bool isFound = expected.interval != 0;
    EXPECT_EQ(client.GetInterval(PATH, interval),
              isFound ? StatusCode::Success : StatusCode::Failure);
    EXPECT_EQ(interval, expected.interval);
    EXPECT_EQ(rrd.listsFreed, 1);
    EXPECT_EQ(rrd.errorsCleared, 0);
    EXPECT_EQ(log.Take(), isFound ? Lines{} : Lines{notFound});
  }
}

TEST(RrdClientCalls, FetchCountsTheRowsAfterTheFirstBound) {
  struct Case {
    StandIn answers;
    long long start;
    unsigned int count;
  };
  using Limits = std::numeric_limits<long long>;
  const Case cases[] = {
      {Fetching(540, 1200, 60, 12), 600, 11},
      {Fetching(0, 300, 100, 4), 100, 3},
      {Fetching(-86416, 86400, 60, 2881), -86356, 2880},
      {Fetching(Limits::max(), Limits::max(), 1, 1), Limits::min(), 0},
  };
  Rrd::FetchResult result;  // filled again and again: each buffer is released
  for (const Case& expected : cases) {
    rrd = expected.answers;
    LogCapture log(7);
    ASSERT_EQ(client.Fetch(PATH, 600, 1200, result), StatusCode::Success);
    EXPECT_EQ(result.GetStartTime(), expected.start);
    EXPECT_EQ(result.GetEndTime(), expected.answers.end);
    EXPECT_EQ(result.GetStep(), expected.answers.step);
    EXPECT_EQ(result.GetSampleCount(), expected.count);
    EXPECT_NE(result.GetData(), nullptr);
    const std::string trace = "7" + COMPONENT + "[trace] Fetch: ";
    EXPECT_EQ(log.Take(), (Lines{trace + "user time window [599, 1199]",
                                 trace + "rrd time window [" + std::to_string(rrd.start) + ", " +
                                     std::to_string(rrd.end) + "]"}));
  }
}

TEST(RrdClientCalls, ASpanThatTheRrdLibraryMiscountsIsRefused) {
  using Limits = std::numeric_limits<long long>;
  constexpr long long farthest = 1LL << 40;
  Rrd::FetchResult result;
  rrd = Fetching(540, 1200, 60, 12);
  ASSERT_EQ(client.Fetch(PATH, -farthest, farthest, result), StatusCode::Success);
  rrd.calls.clear();
  for (const auto& [start, end] : {std::pair<long long, long long>{24, 8},
                                   {Limits::min(), 0},
                                   {-farthest - 1, 0},
                                   {0, farthest + 1},
                                   {0, Limits::max()}}) {
    LogCapture log(3);
    EXPECT_EQ(client.Fetch(PATH, start, end, result), StatusCode::Failure);
    EXPECT_EQ(log.Take().size(), 1u);
  }
  EXPECT_TRUE(rrd.calls.empty());
  EXPECT_EQ(result.GetSampleCount(), 11u);
}

TEST(RrdClientCalls, AMissingFileIsReportedByTheHostAlone) {
  rrd = {};
  LogCapture log;
  long long timestamp = 7;
  unsigned long interval = 7;
  const std::string missing = "/proc/version/none";
  EXPECT_EQ(client.GetFirstTimestamp(missing, 0, timestamp), StatusCode::NotFound);
  EXPECT_EQ(client.GetLastTimestamp(missing, timestamp), StatusCode::NotFound);
  EXPECT_EQ(client.GetInterval(missing, interval), StatusCode::NotFound);
  EXPECT_EQ(timestamp, 7);
  EXPECT_EQ(interval, 7u);
  EXPECT_TRUE(rrd.calls.empty());
  EXPECT_TRUE(log.Take().empty());
}

}  // namespace
