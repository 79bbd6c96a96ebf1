// What RrdClient makes of every answer of the RRD library. The functions below take the place of
// the library's own in this program, so that it can give answers that no real file produces.

#include <gtest/gtest.h>
#include <rrd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/log_capture.h"
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
  std::vector<std::string> calls;
  int errorsRead = 0;
  int errorsCleared = 0;
  int listsFreed = 0;
} rrd;

std::string Join(const char** texts, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += std::string(" ") + texts[i];
  }
  return all;
}

int Answer(const std::string& call) {
  rrd.calls.push_back(call);
  return static_cast<int>(rrd.result);
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

time_t rrd_first_r(const char* path, const int archive) {
  return Answer(std::string("first ") + path + " " + std::to_string(archive));
}

time_t rrd_last_r(const char* path) { return Answer(std::string("last ") + path); }

rrd_info_t* rrd_info_r(const char* path) {
  Answer(std::string("info ") + path);
  rrd_info_t* list = nullptr;
  for (auto entry = rrd.information.rbegin(); entry != rrd.information.rend(); ++entry) {
    auto* node = static_cast<rrd_info_t*>(std::calloc(1, sizeof(rrd_info_t)));
    node->key = strdup(entry->first.c_str());
    node->type = entry->second;
    node->value.u_cnt = static_cast<unsigned long>(rrd.information.rend() - entry) * 100;
    node->next = list;
    list = node;
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
  const int answer =
      Answer(std::string("fetch ") + path + " " + function + " " + std::to_string(*start) + " " +
             std::to_string(*end) + " " + std::to_string(*step));
  if (answer == -1) {
    return answer;
  }
  *start = rrd.start;
  *end = rrd.end;
  *step = rrd.step;
  *count = 2;
  *names = static_cast<char**>(std::calloc(2, sizeof(char*)));
  (*names)[0] = strdup("element");
  (*names)[1] = strdup("other");
  if (rrd.rows != 0) {
    *data = static_cast<double*>(std::calloc(rrd.rows, sizeof(double)));
  }
  return answer;
}

int rrd_create_r(const char* path, unsigned long step, time_t start, int count,
                 const char** texts) {
  return Answer(std::string("create ") + path + " " + std::to_string(step) + " " +
                std::to_string(start) + Join(texts, count));
}

int rrd_create_r2(const char* path, unsigned long step, time_t start, int noOverwrite,
                  const char** sources, const char* pattern, int count, const char** texts) {
  EXPECT_EQ(noOverwrite, 0);
  EXPECT_STREQ(sources[0], path);
  EXPECT_EQ(sources[1], nullptr);
  EXPECT_EQ(pattern, nullptr);
  return Answer(std::string("create2 ") + path + " " + std::to_string(step) + " " +
                std::to_string(start) + Join(texts, count));
}

int rrd_update_r(const char* path, const char* pattern, int count, const char** texts) {
  EXPECT_EQ(pattern, nullptr);
  return Answer(std::string("update ") + path + " " + std::to_string(count) + Join(texts, count));
}
}
#pragma GCC visibility pop

namespace {

const std::string PATH = "/dev/null";
const std::string COMPONENT = "[TimeSeriesDatabase::RrdClient]";
const RrdClient client;

const std::string CREATED = "DS:element:GAUGE:600:-40.500000:nan RRA:LAST:0.99999:1:2016";
const std::string MIGRATED =
    "DS:element=element[1]:GAUGE:600:-40.500000:nan RRA:LAST:0.99999:1:2016";
const std::string SAMPLES = "1700000000:2.000000 1700000060:1.500000";

// Runs the operation that a row of the tables below names, and holds what it leaves on failure.
StatusCode Perform(const std::string& name) {
  long long timestamp = 7;
  unsigned long interval = 7;
  StatusCode rc = StatusCode::Success;
  if (name == "GetInterval") {
    rc = client.GetInterval(PATH, interval);
    EXPECT_EQ(interval, 7u);
  } else if (name == "GetLastTimestamp" || name == "GetFirstTimestamp") {
    rc = name == "GetLastTimestamp" ? client.GetLastTimestamp(PATH, timestamp)
                                    : client.GetFirstTimestamp(PATH, 3, timestamp);
    EXPECT_EQ(timestamp, rrd.result);
  } else if (name == "Create") {
    rc = client.Create(PATH, 300, 1700000000, -40.5, NAN, 2016);
  } else if (name == "Migrate") {
    rc = client.Migrate(PATH, 300, 1700000000, -40.5, NAN, 2016);
  } else if (name == "Update") {
    rc = client.Update(PATH, {{1700000060, 1.5}, {1700000000, 2}});
  } else if (name == "Update of one") {
    rc = client.Update(PATH, {{-5, -INFINITY}});
  } else if (name == "Update of none") {
    rc = client.Update(PATH, {});
  } else {
    Rrd::FetchResult result;
    rc = client.Fetch(PATH, 600, 1200, result);
    EXPECT_EQ(result.GetData(), nullptr);
    EXPECT_EQ(result.GetStartTime(), 0);
  }
  return rc;
}

StandIn Returning(long result) {
  StandIn answers;
  answers.result = result;
  return answers;
}

StandIn Fetching(time_t start, time_t end, unsigned long step, unsigned long rows) {
  StandIn answers;
  answers.start = start;
  answers.end = end;
  answers.step = step;
  answers.rows = rows;
  return answers;
}

TEST(RrdClientCalls, FailuresAreReportedAtTheLevelOfErrors) {
  struct Case {
    std::string name;
    StandIn answers;
    int code;
    bool isCleared;
    std::string line;  // behind component and operation
    std::string call;
  };
  const std::string fetch = "fetch /dev/null LAST 599 1199 0";
  const std::string error = "error [broken], file path [/dev/null], arguments [";
  const std::string failed = "Failed to ";
  const std::string path = "[/dev/null]. rrd error :[broken]";
  const StandIn minusOne = Returning(-1);
  const Case cases[] = {
      {"GetInterval", {}, 1, true, failed + "read information from" + path, "info /dev/null"},
      {"GetLastTimestamp", minusOne, 1, true, failed + "get last timestamp from " + path,
       "last /dev/null"},
      {"GetFirstTimestamp", minusOne, 1, true, failed + "get first timestamp from " + path,
       "first /dev/null 3"},
      {"Fetch", minusOne, 1, true,
       "error [broken],Time window start time = [599], end time = [1199], file path = [/dev/null]",
       fetch},
      {"Fetch", Fetching(540, 1200, 60, 0), 21, false, "error pointer is null", fetch},
      {"Fetch", Fetching(540, 1200, 0, 3), 1, false, "error step = 0", fetch},
      {"Fetch", Fetching(540, 1200, 1UL << 50, 3), 1, false, "error step = 1125899906842624",
       fetch},
      {"Create", minusOne, 1, true, error + CREATED + "]",
       "create /dev/null 300 1700000000 " + CREATED},
      {"Migrate", minusOne, 1, false, error + MIGRATED + "]",
       "create2 /dev/null 300 1700000000 " + MIGRATED},
      {"Update", minusOne, 1, true, error + SAMPLES + "]", "update /dev/null 2 " + SAMPLES},
      {"Update of one", minusOne, 1, true, error + "-5:-inf ]", "update /dev/null 1 -5:-inf"},
      {"Update of none", minusOne, 1, true, error + " ]", "update /dev/null 0"},
  };
  for (const Case& expected : cases) {
    for (const int level : {2, 3}) {
      SCOPED_TRACE(expected.name + ": " + expected.line + " at level " + std::to_string(level));
      rrd = expected.answers;
      LogCapture log(level);
      EXPECT_EQ(static_cast<int>(Perform(expected.name)), expected.code);
      const bool isQuoted = expected.line.find("broken") != std::string::npos;
      EXPECT_EQ(rrd.errorsRead, level == 3 && isQuoted ? 1 : 0);
      EXPECT_EQ(rrd.errorsCleared, expected.isCleared ? 1 : 0);
      EXPECT_EQ(rrd.calls, Lines{expected.call});
      const std::string operation = expected.name.substr(0, expected.name.find(' '));
      const std::string line = "3" + COMPONENT + " " + operation + ": " + expected.line;
      EXPECT_EQ(log.Take(), level == 3 ? Lines{line} : Lines{});
    }
  }
}

TEST(RrdClientCalls, SuccessesAreReportedAtTheLevelOfInformation) {
  const std::pair<const char*, std::string> cases[] = {
      {"Create", "Create rrd file [/dev/null] with arguments [" + CREATED + "]"},
      {"Migrate", "Create rrd file [/dev/null] with arguments [" + MIGRATED + "]"},
      {"Update", "Update rrd file [/dev/null] with 2 samples"},
      {"GetFirstTimestamp", "First timestamp [600] for [/dev/null]"},
  };
  for (const auto& [name, line] : cases) {
    rrd = Returning(600);
    LogCapture log(6);
    EXPECT_EQ(Perform(name), StatusCode::Success);
    EXPECT_EQ(log.Take(), Lines{"6" + COMPONENT + " " + name + ": " + line});
    EXPECT_EQ(rrd.errorsRead + rrd.errorsCleared, 0);
  }
}

TEST(RrdClientCalls, IntervalIsTheFirstCountNamedStep) {
  const std::string notFound =
      "3" + COMPONENT + " GetInterval: Failed to find keyword [step] in [/dev/null]";
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
  const Case cases[] = {
      {Fetching(540, 1200, 60, 12), 600, 11},
      {Fetching(0, 300, 100, 4), 100, 3},
      {Fetching(-86416, 86400, 60, 2881), -86356, 2880},
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
  const std::string missing = "/dev/null/none";
  EXPECT_EQ(client.GetFirstTimestamp(missing, 0, timestamp), StatusCode::NotFound);
  EXPECT_EQ(client.GetLastTimestamp(missing, timestamp), StatusCode::NotFound);
  EXPECT_EQ(client.GetInterval(missing, interval), StatusCode::NotFound);
  EXPECT_EQ(timestamp, 7);
  EXPECT_EQ(interval, 7u);
  EXPECT_TRUE(rrd.calls.empty());
  EXPECT_TRUE(log.Take().empty());
}

}  // namespace
