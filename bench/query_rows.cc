// Queries, compared with the RRD library's own reading of the samples, which they cannot avoid, and
// with its export.

#include <rrd.h>

#include <memory>

#include "row.h"
#include "samples.h"

namespace Bench {
namespace {

using namespace nvx::TimeSeriesDatabase;

Row MakeFetchRow(const std::string& work, const Goal& goal, QueryInterval interval, long long end) {
  return {work, "`rrd_fetch_r` alone", goal, [=] {
            const auto year = std::make_shared<Year>();
            const TimeWindow window = MakeWindow(START, end);
            const Points points = year->Query(window, interval);
            RequireEqual(points, AddUp(points, end), end, BoundSample::InBoth);
            return Contest{{[=] { (void)year->Query(window, interval); }},
                           {[=] { FetchAlone(year->GetPath(), START, end); }}};
          }};
}

// Its rows end with the sample on their later bound.
std::vector<Bucket> ExportDays(const std::string& path) {
  std::string arguments[] = {"xport",
                             "--start",
                             std::to_string(UTC_START),
                             "--end",
                             std::to_string(UTC_END),
                             "--step",
                             std::to_string(DAY),
                             "--maxrows",
                             "400",
                             "DEF:a=" + path + ":element:LAST:step=60:reduce=AVERAGE",
                             "XPORT:a"};
  std::vector<char*> pointers;
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  int unused = 0;
  std::time_t start = 0;
  std::time_t end = 0;
  unsigned long step = 0;
  unsigned long columnCount = 0;
  char** legend = nullptr;
  double* data = nullptr;
  Require(rrd_xport(static_cast<int>(pointers.size()), pointers.data(), &unused, &start, &end,
                    &step, &columnCount, &legend, &data) == 0 &&
              columnCount == 1 && step == DAY,
          "rrd_xport");
  std::vector<Bucket> buckets;
  for (long long time = start; time < end; time += DAY) {
    buckets.push_back({time, data[buckets.size()]});
  }
  std::free(legend[0]);
  std::free(legend);
  std::free(data);
  return buckets;
}

Contest EnterPercentiles() {
  const auto year = std::make_shared<Year>();
  const TimeWindow weeks = ShrinkToWeeks(MakeWindow(START, END));
  DataFunction percentile;
  Require(DataFunctions::MakePercentile(95000, percentile) == StatusCode::Success, "percentile");
  const DataFunction average = DataFunctions::ComputeAverageIgnoringNan;
  Require(QueryWeeks(*year, weeks, percentile).size() == 51, "number of weeks");
  return {{[=] { (void)QueryWeeks(*year, weeks, percentile); }},
          {[=] { (void)QueryWeeks(*year, weeks, average); }}};
}

Contest EnterExport() {
  const auto year = std::make_shared<Year>();
  const TimeWindow window = MakeWindow(UTC_START, UTC_END, "UTC");
  RequireEqual(year->Query(window, QueryInterval::Day), ExportDays(year->GetPath()), UTC_END,
               BoundSample::InFormer);
  return {{[=] { (void)year->Query(window, QueryInterval::Day); }},
          {[=] { (void)ExportDays(year->GetPath()); }}};
}

}  // namespace

std::vector<Row> ListQueryRows() {
  return {
      MakeFetchRow("a year of minutes by hour", AtMost(1.30), QueryInterval::Hour, END),
      MakeFetchRow("a year of minutes by day", AtMost(1.22), QueryInterval::Day, END),
      MakeFetchRow("a year of minutes by month", AtMost(1.21), QueryInterval::Month, END),
      MakeFetchRow("a year of minutes by minute", NanosecondsAPoint(15, SAMPLES_OF_A_YEAR),
                   QueryInterval::OneMinute, END),
      MakeFetchRow("a day by hour", AtMost(1.15), QueryInterval::Hour, START + DAY),
      MakeFetchRow("an hour", AtMost(1.25), QueryInterval::Hour, START + 3600),
      {"a year of minutes by week, the 95th percentile", "the average", AtMost(3),
       EnterPercentiles},
      {"a year by UTC day, with quality", "`rrd_xport` in process", AtMost(1.00), EnterExport},
  };
}

}  // namespace Bench
