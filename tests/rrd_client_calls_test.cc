// What RrdClient makes of every answer of the RRD library. The functions below take the place of
// the library's own in this program, so that it can give answers that no real file produces.

#include <gtest/gtest.h>
#include <rrd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
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

struct Call {
  std::string name;
  std::function<StatusCode()> call;
  StandIn answers;
  StatusCode code;
  std::string line;  // behind component and operation
  bool isCleared;
  std::string expectedCall;
};

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

StatusCode Fetch(long long start, long long end) {
  Rrd::FetchResult result;
  const StatusCode rc = client.Fetch(PATH, start, end, result);
  EXPECT_EQ(result.GetData(), nullptr) << "changed on failure";
  EXPECT_EQ(result.GetStartTime(), 0);
  return rc;
}

StatusCode Interval() {
  unsigned long interval = 7;
  const StatusCode rc = client.GetInterval(PATH, interval);
  EXPECT_EQ(interval, 7u) << "changed on failure";
  return rc;
}

StatusCode First() {
  long long timestamp = 7;
  const StatusCode rc = client.GetFirstTimestamp(PATH, 3, timestamp);
  EXPECT_EQ(timestamp, -1);
  return rc;
}

StatusCode Last() {
  long long timestamp = 7;
  const StatusCode rc = client.GetLastTimestamp(PATH, timestamp);
  EXPECT_EQ(timestamp, -1);
  return rc;
}

const std::string DEFINITIONS = "DS:element:GAUGE:600:-40.500000:nan RRA:LAST:0.99999:1:2016";
const std::string MIGRATED =
    "DS:element=element[1]:GAUGE:600:-40.500000:nan RRA:LAST:0.99999:1:2016";

StatusCode Create() { return client.Create(PATH, 300, 1700000000, -40.5, NAN, 2016); }
StatusCode Migrate() { return client.Migrate(PATH, 300, 1700000000, -40.5, NAN, 2016); }

const std::vector<Call> FAILURES = {
    {"GetInterval",
     Interval,
     {},
     StatusCode::Failure,
     "Failed to read information from[/dev/null]. rrd error :[broken]",
     true,
     "info /dev/null"},
    {"GetLastTimestamp", Last, Returning(-1), StatusCode::Failure,
     "Failed to get last timestamp from [/dev/null]. rrd error :[broken]", true, "last /dev/null"},
    {"GetFirstTimestamp", First, Returning(-1), StatusCode::Failure,
     "Failed to get first timestamp from [/dev/null]. rrd error :[broken]", true,
     "first /dev/null 3"},
    {"Fetch", [] { return Fetch(600, 1200); }, Returning(-1), StatusCode::Failure,
     "error [broken],Time window start time = [599], end time = [1199], file path = [/dev/null]",
     true, "fetch /dev/null LAST 599 1199 0"},
    {"Fetch", [] { return Fetch(600, 1200); }, Fetching(540, 1200, 60, 0), StatusCode::NullPointer,
     "error pointer is null", false, "fetch /dev/null LAST 599 1199 0"},
    {"Fetch", [] { return Fetch(600, 1200); }, Fetching(540, 1200, 0, 3), StatusCode::Failure,
     "error step = 0", false, "fetch /dev/null LAST 599 1199 0"},
    {"Create", Create, Returning(-1), StatusCode::Failure,
     "error [broken], file path [/dev/null], arguments [" + DEFINITIONS + "]", true,
     "create /dev/null 300 1700000000 " + DEFINITIONS},
    {"Migrate", Migrate, Returning(-1), StatusCode::Failure,
     "error [broken], file path [/dev/null], arguments [" + MIGRATED + "]", false,
     "create2 /dev/null 300 1700000000 " + MIGRATED},
    {"Update",
     [] {
       return client.Update(PATH, {{1700000060, 1.5}, {1700000000, 2}});
     },
     Returning(-1), StatusCode::Failure,
     "error [broken], file path [/dev/null], arguments [1700000000:2.000000 1700000060:1.500000]",
     true, "update /dev/null 2 1700000000:2.000000 1700000060:1.500000"},
    {"Update",
     [] {
       return client.Update(PATH, {{-5, -INFINITY}});
     },
     Returning(-1), StatusCode::Failure,
     "error [broken], file path [/dev/null], arguments [-5:-inf ]", true,
     "update /dev/null 1 -5:-inf"},
    {"Update", [] { return client.Update(PATH, {}); }, Returning(-1), StatusCode::Failure,
     "error [broken], file path [/dev/null], arguments [ ]", true, "update /dev/null 0"},
};

TEST(RrdClientCalls, FailuresAreReportedAtTheLevelOfErrors) {
  for (const Call& failure : FAILURES) {
    for (const int level : {2, 3}) {
      SCOPED_TRACE(failure.name + ": " + failure.line + " at level " + std::to_string(level));
      rrd = failure.answers;
      LogCapture log(level);
      EXPECT_EQ(failure.call(), failure.code);
      const bool isWritten = level == 3;
      const bool isQuoted = isWritten && failure.line.find("broken") != std::string::npos;
      EXPECT_EQ(rrd.errorsRead, isQuoted ? 1 : 0);
      EXPECT_EQ(rrd.errorsCleared, failure.isCleared ? 1 : 0);
      EXPECT_EQ(rrd.calls, std::vector<std::string>{failure.expectedCall});
      const std::string line = "3" + COMPONENT + " " + failure.name + ": " + failure.line;
      EXPECT_EQ(log.Take(),
                isWritten ? std::vector<std::string>{line} : std::vector<std::string>{});
    }
  }
}

TEST(RrdClientCalls, SuccessesAreReportedAtTheLevelOfInformation) {
  const std::vector<Call> successes = {
      {"Create",
       Create,
       {},
       StatusCode::Success,
       "Create rrd file [/dev/null] with arguments [" + DEFINITIONS + "]",
       false,
       ""},
      {"Migrate", Migrate, Returning(1), StatusCode::Success,
       "Create rrd file [/dev/null] with arguments [" + MIGRATED + "]", false, ""},
      {"Update",
       [] {
         return client.Update(PATH, {{1, 1}, {2, NAN}, {3, 3}});
       },
       {},
       StatusCode::Success,
       "Update rrd file [/dev/null] with 3 samples",
       false,
       ""},
      {"GetFirstTimestamp",
       [] {
         long long timestamp = 0;
         return client.GetFirstTimestamp(PATH, 0, timestamp);
       },
       Returning(600), StatusCode::Success, "First timestamp [600] for [/dev/null]", false, ""},
  };
  for (const Call& success : successes) {
    rrd = success.answers;
    LogCapture log(6);
    EXPECT_EQ(success.call(), success.code);
    EXPECT_EQ(log.Take(),
              std::vector<std::string>{"6" + COMPONENT + " " + success.name + ": " + success.line});
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
    EXPECT_EQ(log.Take(),
              isFound ? std::vector<std::string>{} : std::vector<std::string>{notFound});
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
    EXPECT_EQ(log.Take(),
              (std::vector<std::string>{trace + "user time window [599, 1199]",
                                        trace + "rrd time window [" + std::to_string(rrd.start) +
                                            ", " + std::to_string(rrd.end) + "]"}));
  }
}

TEST(RrdClientCalls, ASpanThatTheRrdLibraryMiscountsIsRefused) {
  for (const auto& [start, end] : {std::pair<long long, long long>{24, 8},
                                   {std::numeric_limits<long long>::min(), 0},
                                   {0, std::numeric_limits<long long>::max()}}) {
    rrd = {};
    LogCapture log(2);
    EXPECT_EQ(Fetch(start, end), StatusCode::Failure);
    EXPECT_TRUE(rrd.calls.empty());
  }
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
