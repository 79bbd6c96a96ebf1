// Queries by day, compared with databases that have the samples in a table, in a file that stays
// open.

#include <sqlite3.h>

#include <algorithm>
#include <cmath>

#include "duckdb.h"
#include "row.h"

namespace Bench {
namespace {

class Sqlite {
 public:
  Sqlite() {
    Require(sqlite3_open(directory.GetPath("samples.sqlite").c_str(), &database) == SQLITE_OK,
            "opening SQLite");
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;
  ~Sqlite() { sqlite3_close(database); }

  void Run(const char* statement) {
    Require(sqlite3_exec(database, statement, nullptr, nullptr, nullptr) == SQLITE_OK, statement);
  }

  // Inserts the pairs of a map.
  template <typename Pairs>
  void Insert(const char* statement, const Pairs& pairs) {
    Run("BEGIN");
    sqlite3_stmt* const insert = Prepare(statement);
    for (const auto& [time, second] : pairs) {
      sqlite3_bind_int64(insert, 1, time);
      if constexpr (std::is_floating_point_v<std::decay_t<decltype(second)>>) {
        sqlite3_bind_double(insert, 2, second);
      } else {
        sqlite3_bind_int64(insert, 2, second);
      }
      Require(sqlite3_step(insert) == SQLITE_DONE, statement);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    Run("COMMIT");
  }

  std::vector<Bucket> Query(const char* query) {
    sqlite3_stmt* const rows = Prepare(query);
    std::vector<Bucket> buckets;
    while (sqlite3_step(rows) == SQLITE_ROW) {
      buckets.push_back({sqlite3_column_int64(rows, 0), sqlite3_column_double(rows, 1)});
    }
    Require(sqlite3_finalize(rows) == SQLITE_OK, query);
    return buckets;
  }

 private:
  sqlite3_stmt* Prepare(const char* text) {
    sqlite3_stmt* statement = nullptr;
    Require(sqlite3_prepare_v2(database, text, -1, &statement, nullptr) == SQLITE_OK, text);
    return statement;
  }

  Directory directory;
  sqlite3* database = nullptr;
};

TimeWindow LocalYear() { return MakeWindow(START, END); }
TimeWindow UtcYear() { return MakeWindow(UTC_START, UTC_END, "UTC"); }

// Our query by day and a rival's, once both have given the same averages.
template <typename Rival>
Contest EnterDays(const TimeWindow& window, Rival rival, BoundSample boundSample) {
  const auto year = std::make_shared<Year>();
  RequireEqual(year->Query(window, QueryInterval::Day), rival(), window.end.timestamp, boundSample);
  return {{[=] { (void)year->Query(window, QueryInterval::Day); }}, {[=] { (void)rival(); }}};
}

std::shared_ptr<Sqlite> FillSqlite() {
  auto sqlite = std::make_shared<Sqlite>();
  sqlite->Run("CREATE TABLE samples(time INTEGER PRIMARY KEY, value REAL)");
  sqlite->Insert("INSERT INTO samples VALUES(?, ?)", MakeSamples(START, UTC_END));
  return sqlite;
}

Contest EnterSqliteByBounds() {
  const auto sqlite = FillSqlite();
  std::map<long long, long long> days;
  nvx::TimeSeriesDatabase::Date::Date start = LocalYear().start;
  while (start.timestamp < END) {
    const long long first = start.timestamp;
    start.AddDays(1);
    days[first] = start.timestamp;
  }
  sqlite->Run("CREATE TABLE days(first INTEGER PRIMARY KEY, next INTEGER)");
  sqlite->Insert("INSERT INTO days VALUES(?, ?)", days);
  const auto query = [=] {
    return sqlite->Query(
        "SELECT first, avg(value) FROM days JOIN samples ON time BETWEEN first AND next "
        "GROUP BY first");
  };
  return EnterDays(LocalYear(), query, BoundSample::InBoth);
}

Contest EnterSqliteByGroups() {
  const auto sqlite = FillSqlite();
  const std::string query =
      "SELECT time / 86400 * 86400 AS day, avg(value) FROM samples WHERE time "
      "BETWEEN " +
      std::to_string(UTC_START) + " AND " + std::to_string(UTC_END - STEP) + " GROUP BY day";
  return EnterDays(
      UtcYear(), [=] { return sqlite->Query(query.c_str()); }, BoundSample::InNext);
}

// A table of the samples at an `instant`, which is truncated in the zone, or `utc`.
std::shared_ptr<DuckDb> FillDuckDb(const TimeWindow& window) {
  auto duckDb = std::make_shared<DuckDb>();
  duckDb->Run(std::string("SET TimeZone = '") + ZONE + "'");
  duckDb->Run("CREATE TABLE raw(time BIGINT, value DOUBLE)");
  duckDb->Append("raw", MakeSamples(window.start.timestamp, window.end.timestamp - STEP));
  duckDb->Run(
      "CREATE TABLE samples AS SELECT to_timestamp(time) AS instant, "
      "make_timestamp(time * 1000000) AS utc, value FROM raw");
  return duckDb;
}

Contest EnterDuckDb(const TimeWindow& window, const std::string& column) {
  const auto duckDb = FillDuckDb(window);
  const std::string query =
      "SELECT epoch(day)::BIGINT, average FROM (SELECT date_trunc('day', " + column +
      ")::" + (column == "utc" ? "TIMESTAMP" : "TIMESTAMPTZ") +
      " AS day, avg(value) AS average FROM samples GROUP BY day) ORDER BY day";
  return EnterDays(
      window, [=] { return duckDb->Query(query); }, BoundSample::InNext);
}

// The 95th percentile of the samples from one time to another, both included.
double SortForPercentile(long long first, long long last) {
  std::vector<double> values;
  for (const auto& sample : MakeSamples(first, last)) {
    values.push_back(sample.second);
  }
  std::sort(values.begin(), values.end());
  return values[(values.size() * 95 + 99) / 100 - 1];
}

bool IsSame(double value, double other) { return std::abs(value - other) < 1e-9; }

// Ours have the sample on the later bound, too, which the rival counts to the next week alone.
void RequirePercentiles(const Points& points, const std::vector<Bucket>& buckets, long long end) {
  Require(points.size() == buckets.size(), "number of weeks");
  for (std::size_t i = 0; i < points.size(); ++i) {
    const long long start = points[i].date.timestamp;
    const long long next = i + 1 < points.size() ? points[i + 1].date.timestamp : end;
    const double own = SortForPercentile(start, next);
    const double rivals = SortForPercentile(start, next - STEP);
    Require(points[i].quality && IsSame(points[i].value, own), "percentile");
    Require(buckets[i].start == start && IsSame(buckets[i].average, rivals),
            "percentile of the rival");
  }
}

// `week` is the beginning of the week of a row.
Contest EnterDuckDbPercentiles(const TimeWindow& window, const std::string& week) {
  using namespace nvx::TimeSeriesDatabase;
  const auto year = std::make_shared<Year>();
  const TimeWindow weeks = ShrinkToWeeks(window);
  const auto duckDb = FillDuckDb(weeks);
  const std::string query = "SELECT epoch(week)::BIGINT, percentile FROM (SELECT " + week +
                            " AS week, quantile_disc(value, 0.95) AS percentile FROM samples "
                            "GROUP BY week) ORDER BY week";
  DataFunction percentile;
  Require(DataFunctions::MakePercentile(95000, percentile) == StatusCode::Success, "percentile");
  RequirePercentiles(QueryWeeks(*year, weeks, percentile), duckDb->Query(query),
                     weeks.end.timestamp);
  return {{[=] { (void)QueryWeeks(*year, weeks, percentile); }},
          {[=] { (void)duckDb->Query(query); }}};
}

}  // namespace

std::vector<Row> ListSqlRows() {
  return {
      {"a year by local day", "SQLite, the bounds joined in as a table", TimesFaster(12),
       EnterSqliteByBounds},
      {"a year by UTC day", "SQLite, `GROUP BY`", TimesFaster(50), EnterSqliteByGroups},
      {"a year by local day", "DuckDB, one thread, `date_trunc` in the zone", TimesFaster(80),
       [] { return EnterDuckDb(LocalYear(), "instant"); }},
      {"a year by UTC day", "DuckDB, one thread, `date_trunc` in UTC", TimesFaster(3),
       [] { return EnterDuckDb(UtcYear(), "utc"); }},
      {"a year by local week, the 95th percentile",
       "DuckDB, one thread, `quantile_disc` by `date_trunc` in the zone", TimesFaster(20),
       [] { return EnterDuckDbPercentiles(LocalYear(), "date_trunc('week', instant)"); }},
      {"a year by UTC week, the 95th percentile",
       "DuckDB, one thread, `quantile_disc` by `time_bucket` in UTC", TimesFaster(1),
       [] { return EnterDuckDbPercentiles(UtcYear(), "time_bucket(INTERVAL '7 days', utc)"); }},
  };
}

}  // namespace Bench
