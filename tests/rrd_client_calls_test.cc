// RrdClient's results for every answer of the RRD library. In this program the functions below
// replace the library's own, so that they can give answers that no real file produces.

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
  std::vector<rrd_info_t> information;
  time_t start = 0;
  time_t end = 0;
  unsigned long step = 0;
  unsigned long rows = 0;  // 0: no buffer
  unsigned long sources = 2;
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

rrd_context_t* rrd_get_context() {
  static rrd_context_t context{"", "broken"};
  return &context;
}

int rrd_test_error() { return 0; }

void rrd_clear_error() { ++rrd.errorsCleared; }

time_t rrd_first_r(const char* path, const int archive) { return Answer("first", path, archive); }

time_t rrd_last_r(const char* path) { return Answer("last", path); }

rrd_info_t* rrd_info_r(const char* path) {
  Answer("info", path);
  for (std::size_t i = 1; i < rrd.information.size(); ++i) {
    rrd.information[i - 1].next = &rrd.information[i];
  }
  return rrd.information.empty() ? nullptr : rrd.information.data();
}

void rrd_info_free(rrd_info_t* /*list*/) { ++rrd.listsFreed; }

int rrd_fetch_r(const char* path, const char* function, time_t* start, time_t* end,
                unsigned long* step, unsigned long* count, char*** names, rrd_value_t** data) {
  if (Answer("fetch", path, function, *start, *end, *step) == -1) {
    return -1;
  }
  *start = rrd.start;
  *end = rrd.end;
  *step = rrd.step;
  *count = rrd.sources;
  *names = static_cast<char**>(std::calloc(2, sizeof(char*)));
  for (unsigned long i = 0; i < rrd.sources; ++i) {
    (*names)[i] = strdup("element");
  }
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

const std::string PATH = "/proc/version";  // a file that cannot be replaced
const std::string COMPONENT = "[TimeSeriesDatabase::RrdClient]";
const RrdClient client;

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

// Performs an operation of the table and has the values that the operation must not change.
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
  ForEachRow("rrd_calls.txt", [](const Row& row) {
    const int lineLevel = row.GetNumber("level");
    const std::string operation = row["operation"].substr(0, row["operation"].find(' '));
    const std::string line = row["level"] + COMPONENT + " " + operation + ": " + row["line"];
    for (const int level : {lineLevel - 1, lineLevel}) {
      SCOPED_TRACE("at level " + std::to_string(level));
      rrd = ReadAnswers(row["answer"]);
      LogCapture log(level);
      EXPECT_EQ(static_cast<int>(Perform(row["operation"])), row.GetNumber("code"));
      EXPECT_EQ(rrd.calls, Lines{row["call"]});
      EXPECT_EQ(rrd.errorsCleared, row["error"] == "cleared" ? 1 : 0);
      const bool isBroken = line.find("broken") != std::string::npos;
      const bool isQuoted = level == lineLevel && isBroken;
      EXPECT_EQ(rrd.errorsRead, isQuoted ? 1 : 0);
      EXPECT_EQ(log.Take(), level == lineLevel ? Lines{line} : Lines{});
      if (row["code"] != "0") {
        EXPECT_EQ(Failure::GetReason(), isBroken ? "broken" : row["line"]);
        EXPECT_FALSE(Failure::IsLocked());
      }
    }
  });
}

TEST(RrdClientCalls, IntervalIsTheFirstCountNamedStep) {
  std::string names[] = {"step", "steps"};
  const auto make = [](std::string& name, rrd_info_type_t type, unsigned long count) {
    rrd_info_t entry{};
    entry.key = name.data();
    entry.type = type;
    entry.value.u_cnt = count;
    return entry;
  };
  rrd = {};
  rrd.information = {make(names[0], RD_I_VAL, 1), make(names[1], RD_I_CNT, 2),
                     make(names[0], RD_I_CNT, 3), make(names[0], RD_I_CNT, 4)};
  LogCapture log(3);
  unsigned long interval = 0;
  EXPECT_EQ(client.GetInterval(PATH, interval), StatusCode::Success);
  EXPECT_EQ(interval, 3u);
  rrd.information.resize(2);  // no count named step is left
  rrd.information.back().next = nullptr;
  EXPECT_EQ(client.GetInterval(PATH, interval), StatusCode::Failure);
  EXPECT_EQ(interval, 3u);
  EXPECT_EQ(log.Take(), Lines{"3" + COMPONENT +
                              " GetInterval: Failed to find keyword [step] in [/proc/version]"});
  EXPECT_EQ(rrd.listsFreed, 2);
  EXPECT_EQ(rrd.errorsCleared, 0);
}

TEST(RrdClientCalls, FetchCountsTheRowsAfterTheFirstBound) {
  Rrd::FetchResult result;  // filled again: the first buffer is released
  const auto expect = [&result](const std::string& answers, long long start, unsigned int count) {
    rrd = ReadAnswers(answers);
    LogCapture log(7);
    ASSERT_EQ(client.Fetch(PATH, 600, 1200, result), StatusCode::Success);
    EXPECT_EQ(result.GetStartTime(), start);
    EXPECT_EQ(result.GetEndTime(), rrd.end);
    EXPECT_EQ(result.GetStep(), rrd.step);
    EXPECT_EQ(result.GetSampleCount(), count);
    EXPECT_NE(result.GetData(), nullptr);
    const std::string trace = "7" + COMPONENT + "[trace] Fetch: ";
    EXPECT_EQ(log.Take(), (Lines{trace + "user time window [599, 1199]",
                                 trace + "rrd time window [" + std::to_string(rrd.start) + ", " +
                                     std::to_string(rrd.end) + "]"}));
  };
  expect("540 1200 60 12", 600, 11);
  expect("-86416 86400 60 2881", -86356, 2880);
  expect("9223372036854775807 9223372036854775807 1 1", std::numeric_limits<long long>::min(), 0);
  if (sizeof(long) > 4) {
    expect("540 1200 1125899906842624 3", (1LL << 50) + 540, 0);
    expect("0 -9223372036854775808 18446744073709551615 1", -1, 0);
  }

  const double* const data = result.GetData();
  Rrd::FetchResult moved = std::move(result);
  EXPECT_EQ(moved.GetData(), data);
  EXPECT_TRUE(result.GetData() == nullptr && result.GetStep() == 0);  // NOLINT: it is empty now
  result = std::move(moved);
  EXPECT_EQ(result.GetData(), data);

  rrd = ReadAnswers("540 1200 60 12");
  rrd.sources = 0;  // the count serves for freeing the names alone
  EXPECT_EQ(client.Fetch(PATH, 600, 1200, result), StatusCode::Success);
  EXPECT_EQ(result.GetSampleCount(), 11u);
}

TEST(RrdClientCalls, ASpanThatTheRrdLibraryMiscountsIsRefused) {
  using Limits = std::numeric_limits<long long>;
  constexpr long long farthest = 1LL << 40;
  Rrd::FetchResult result;
  rrd = ReadAnswers("540 1200 60 12");
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
  EXPECT_TRUE(timestamp == 7 && interval == 7);
  EXPECT_TRUE(rrd.calls.empty());
  EXPECT_TRUE(log.Take().empty());
}

// The last one, since there is no way back.
TEST(RrdClientCalls, APinnedFileIsReadByItsDescriptor) {
  rrd = ReadAnswers("540 1200 60 12");
  RrdClient::PinFiles();
  long long timestamp = 0;
  unsigned long interval = 0;
  Rrd::FetchResult result;
  static_cast<void>(client.GetFirstTimestamp(PATH, 0, timestamp));
  static_cast<void>(client.GetLastTimestamp(PATH, timestamp));
  static_cast<void>(client.GetInterval(PATH, interval));
  static_cast<void>(client.Fetch(PATH, 600, 1200, result));
  static_cast<void>(client.Migrate(PATH, 300, 1700000000, -40.5, NAN, 2016));
  static_cast<void>(client.Fetch("/none", 600, 1200, result));
  ASSERT_EQ(rrd.calls.size(), 6u);
  EXPECT_NE(rrd.calls.back().find(" /none "), std::string::npos);
  rrd.calls.pop_back();
  for (const std::string& call : rrd.calls) {
    EXPECT_NE(call.find(" /proc/self/fd/"), std::string::npos) << call;
    EXPECT_EQ(call.find(PATH) != std::string::npos, call.find("create2") == 0) << call;
  }
}

}  // namespace
