#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <numeric>
#include <set>
#include <sstream>

#include "nvx/workstation/in_memory_redis_client.h"
#include "support/dates.h"
#include "support/local_calendar.h"
#include "support/log_capture.h"
#include "support/random.h"
#include "support/run_program.h"
#include "support/temporary_directory.h"
#include "timeseries/calendar.h"
#include "timeseries/rrd/numerical_data_source.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long DAY = 86400;
constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

using Run = std::vector<double>;
using Points = std::vector<NumericalDataPoint>;

struct Answer {
  double value = MISSING;
  bool isGood = false;
};

bool IsMissing(double sample) { return std::isnan(sample); }

Run WithoutMissing(Run run) {
  run.erase(std::remove_if(run.begin(), run.end(), IsMissing), run.end());
  return run;
}

Answer Average(const Run& run) {
  const Run valid = WithoutMissing(run);
  if (run.size() == 2) {
    return {run[0], !IsMissing(run[0])};
  }
  return {std::accumulate(valid.begin(), valid.end(), 0.0) / static_cast<double>(valid.size()),
          valid.size() == run.size()};
}

Answer Delta(const Run& run) {
  const Run valid = WithoutMissing(run);
  if (valid.size() < 2) {
    return {};
  }
  return {valid.back() - valid.front(), !IsMissing(run.front()) && !IsMissing(run.back())};
}

Answer Increase(const Run& run) {
  const Run valid = WithoutMissing(run);
  if (valid.size() < 2) {
    return {};
  }
  Answer answer{0, valid.size() == run.size()};
  for (std::size_t i = 1; i < valid.size(); ++i) {
    answer.value += valid[i] - (valid[i] < valid[i - 1] ? 0 : valid[i - 1]);
  }
  return answer;
}

// The samples of a run without its last one, which begins the next run.
Answer Count(const Run& run) {
  const Run own(run.begin(), std::max(run.begin() + 1, run.end() - 1));
  const auto count = static_cast<double>(WithoutMissing(own).size());
  return {count, count == static_cast<double>(own.size())};
}

Answer Sum(const Run& run) {
  const Run valid = WithoutMissing(Run(run.begin(), std::max(run.begin() + 1, run.end() - 1)));
  return valid.empty()
             ? Answer{}
             : Answer{std::accumulate(valid.begin(), valid.end(), 0.0), Count(run).isGood};
}

Answer Minimum(const Run& run) {
  const Run valid = WithoutMissing(run.size() == 2 ? Run{run[0]} : run);
  return valid.empty() ? Answer{}
                       : Answer{*std::min_element(valid.begin(), valid.end()), Average(run).isGood};
}

Answer Maximum(const Run& run) {
  Run negated(run.size());
  std::transform(run.begin(), run.end(), negated.begin(), std::negate<>());
  const Answer least = Minimum(negated);
  return {-least.value, least.isGood};
}

Answer First(const Run& run) {
  const Run valid = WithoutMissing(run.size() == 2 ? Run{run[0]} : run);
  return valid.empty() ? Answer{} : Answer{valid.front(), Average(run).isGood};
}

Answer Last(const Run& run) {
  Run reversed(run.rbegin(), run.rend());
  return First(run.size() == 2 ? run : reversed);
}

Answer Percentile95(const Run& run) {
  Run valid = WithoutMissing(run.size() == 2 ? Run{run[0]} : run);
  std::sort(valid.begin(), valid.end());
  return valid.empty() ? Answer{}
                       : Answer{valid[(valid.size() * 95 + 99) / 100 - 1], Average(run).isGood};
}

DataFunction MakePercentile95() {
  DataFunction function;
  EXPECT_EQ(DataFunctions::MakePercentile(95000, function), StatusCode::Success);
  return function;
}

// A function, and its plain twin on the samples of one interval.
struct Function {
  const char* name;
  DataFunction compute;
  Answer (*reduce)(const Run&);
};

const Function FUNCTIONS[] = {
    {"average", DataFunctions::ComputeAverageIgnoringNan, Average},
    {"delta", DataFunctions::ComputeDelta, Delta},
    {"increase", DataFunctions::ComputeIncrease, Increase},
    {"minimum", DataFunctions::ComputeMinimum, Minimum},
    {"maximum", DataFunctions::ComputeMaximum, Maximum},
    {"sum", DataFunctions::ComputeSum, Sum},
    {"count", DataFunctions::ComputeCount, Count},
    {"first", DataFunctions::ComputeFirst, First},
    {"last", DataFunctions::ComputeLast, Last},
    {"percentile", MakePercentile95(), Percentile95},
};

StatusCode Fetch(Rrd::NumericalDataSource& source, const TimeWindow& window, QueryInterval interval,
                 const Function& function, Points& points) {
  return function.reduce == Average ? source.FetchAverage(window, interval, points)
         : function.reduce == Delta ? source.FetchDelta(window, interval, points)
                                    : source.Fetch(window, interval, function.compute, points);
}

// A file of random samples around a change of a zone's clocks.
class RandomFile {
 public:
  RandomFile(const std::string& zoneName, Random& chance)
      : random(chance), zone(zoneName), calendar(zoneName) {
    // rrdtool takes smaller numbers for dates, and the calendar ends.
    const long long change =
        std::clamp(random.Pick(calendar.Periods()).begin, 4700 * DAY, 23400 * DAY);
    const long long rowCount = random.Between(1, 1000);
    first = NextStep(change - random.Between(0, rowCount * step));
    last = first + (rowCount - 1) * step;
    EXPECT_EQ(client.Create(path, step, first - step, MISSING, MISSING,
                            static_cast<unsigned int>(rowCount)),
              StatusCode::Success);
    WriteSamples();
    ReadSamples();
  }

  // Makes a query of a random window, and of the list of its bounds, and returns the number of
  // points compared.
  std::size_t Prove(QueryInterval interval, const Function& function) {
    const TimeWindow window = MakeWindow(interval);
    SCOPED_TRACE(std::string(function.name) + " by " + QueryIntervalToString(interval) + " from " +
                 std::to_string(window.start.timestamp) + " to " +
                 std::to_string(window.end.timestamp) + " in " + zone + ", step " +
                 std::to_string(step));
    Points expected = MakeOlderPoints();
    Points points = expected;
    Rrd::NumericalDataSource source(path, redis, client);
    const StatusCode code = Expect(window, interval, function.reduce, expected);
    EXPECT_EQ(Fetch(source, window, interval, function, points), code);
    ExpectSame(points, expected);
    if (interval == QueryInterval::FullPeriod || code == StatusCode::OutOfRange) {
      return points.size();
    }
    std::vector<Date::Date> bounds;
    EXPECT_EQ(Calendar::ListBounds(ToCalendarInterval(interval), window, bounds),
              StatusCode::Success);
    points = MakeOlderPoints();
    EXPECT_EQ(source.Fetch(bounds, function.compute, points), code);
    ExpectSame(points, expected);
    return points.size() + expected.size();
  }

  // Makes a query of random bounds.
  std::size_t ProveBounds(const Function& function) {
    std::set<long long> times;
    const long long beyond = 3 * step + DAY;
    const long long grid = random.Pick(std::vector<long long>{1, step, 900});
    for (long long count = random.Between(2, 40); count > 0; --count) {
      times.insert(random.Between(first - beyond, last + beyond) / grid * grid);
    }
    times.insert(*times.begin() + grid);
    SCOPED_TRACE(std::string(function.name) + " of " + testing::PrintToString(times) + ", step " +
                 std::to_string(step));
    std::vector<Date::Date> bounds;
    for (const long long time : times) {
      bounds.push_back(Window(time, 0, zone).start);
    }
    Points expected = MakeOlderPoints();
    Points points = expected;
    Rrd::NumericalDataSource source(path, redis, client);
    EXPECT_EQ(source.Fetch(bounds, function.compute, points),
              ExpectRuns({times.begin(), times.end()}, function.reduce, expected));
    ExpectSame(points, expected);
    return points.size();
  }

 private:
  long long NextStep(long long time) const { return (time + step - 1) / step * step; }

  // With or without gaps and infinities, and of sizes that make a sum depend on its order. rrdtool
  // reads, computes with and prints all of them exactly.
  void WriteSamples() {
    const long long holes = random.Between(0, 1) * 6;
    const long long infinities = random.Between(0, 1) * 2;
    std::vector<std::string> command = {"rrdtool", "update", path};
    for (long long time = first; time <= last; time += step) {
      const long long kind = random.Between(0, 99);
      const int number = static_cast<int>(random.Between(-9999, 9999));
      std::string value =
          kind < 50 ? std::to_string(number) + "e12" : std::to_string(number * 0.125);
      if (kind < holes) {
        value = "U";
        time += random.Between(0, 4) * step;
      } else if (kind < holes + infinities) {
        value = number < 0 ? "-inf" : "inf";
      }
      command.push_back(std::to_string(time) + ":" + value);
    }
    EXPECT_EQ(RunProgram(command, {"TZ=UTC"}).error, "");
  }

  void ReadSamples() {
    const ProgramResult printed =
        RunProgram({"rrdtool", "fetch", path, "LAST", "-s", std::to_string(first - step), "-e",
                    std::to_string(last)},
                   {"TZ=UTC"});
    std::istringstream rows(printed.output);
    std::string time;
    rows >> time;  // the name of the column
    for (std::string value; rows >> time >> value;) {
      samples[std::stoll(time)] = std::strtod(value.c_str(), nullptr);
    }
    EXPECT_GE(samples.size(), static_cast<std::size_t>((last - first) / step + 1)) << printed.error;
  }

  // On bounds of intervals, on steps, or anywhere; inside the file or partly outside.
  TimeWindow MakeWindow(QueryInterval interval) {
    const long long beyond = 3 * step + DAY;
    long long start = random.Between(first - beyond, last + beyond);
    long long end = start + random.Between(1, std::min(200 * LocalCalendar::Length(interval),
                                                       last - first + beyond));
    const long long kind = random.Between(0, 3);
    if (kind == 0) {
      end = NextStep(end);
      start = NextStep(start) - step;
    } else if (kind > 1) {
      start = calendar.RoundUp(interval, start);
      end = std::max(calendar.RoundDown(interval, end), calendar.Next(interval, start));
    }
    return Window(start, end, zone);
  }

  static Points MakeOlderPoints() {
    Points points(1);
    points[0].quality = true;
    return points;
  }

  Run Read(long long start, long long end) const {
    Run read;
    for (long long time = NextStep(start); time <= NextStep(end); time += step) {
      const auto sample = samples.find(time);
      read.push_back(sample == samples.end() ? MISSING : sample->second);
    }
    return read;
  }

  // Appends the points that the window has and returns the code.
  StatusCode Expect(const TimeWindow& window, QueryInterval interval, Answer (*reduce)(const Run&),
                    Points& points) const {
    const long long start = window.start.timestamp;
    const long long end = window.end.timestamp;
    if (interval == QueryInterval::FullPeriod) {
      Append(start, Delta(Read(start, end)), points);
      return JudgeStart(start, points);
    }
    std::vector<long long> bounds = {start};
    while (bounds.back() != end) {
      const long long next = calendar.Next(interval, bounds.back());
      if (next > end || next <= bounds.back()) {
        AppendRuns(bounds, Read(start, end), reduce, points);
        return StatusCode::OutOfRange;
      }
      bounds.push_back(next);
    }
    return ExpectRuns(bounds, reduce, points);
  }

  StatusCode ExpectRuns(const std::vector<long long>& bounds, Answer (*reduce)(const Run&),
                        Points& points) const {
    AppendRuns(bounds, Read(bounds.front(), bounds.back()), reduce, points);
    return JudgeStart(bounds.front(), points);
  }

  void AppendRuns(const std::vector<long long>& bounds, const Run& read,
                  Answer (*reduce)(const Run&), Points& points) const {
    const auto at = [&](long long time) {
      const long long position = time / step - bounds.front() / step;
      const long long last = static_cast<long long>(read.size()) - 1;
      return read.begin() + static_cast<std::ptrdiff_t>(std::min(position, last));
    };
    for (std::size_t i = 1; i < bounds.size(); ++i) {
      Append(bounds[i - 1], reduce(Run(at(bounds[i - 1]), at(bounds[i]) + 1)), points);
    }
  }

  void Append(long long time, const Answer& answer, Points& points) const {
    points.push_back({Window(time, 0, zone).start, answer.value, answer.isGood});
  }

  StatusCode JudgeStart(long long start, Points& points) const {
    if (start % step == 0) {
      return StatusCode::Success;
    }
    std::for_each(points.begin(), points.end(), [](auto& point) { point.quality = false; });
    return StatusCode::PartialData;
  }

  static void ExpectSame(const Points& points, const Points& expected) {
    EXPECT_EQ(points.size(), expected.size());
    const auto differing =
        std::mismatch(points.begin(), points.end(), expected.begin(), expected.end(), IsSame);
    EXPECT_TRUE(differing.first == points.end()) << "point " << differing.first - points.begin();
  }

  static bool IsSame(const NumericalDataPoint& left, const NumericalDataPoint& right) {
    const bool isSameValue =
        left.value == right.value || (IsMissing(left.value) && IsMissing(right.value));
    return isSameValue && left.quality == right.quality &&
           left.date.timestamp == right.date.timestamp && left.date.timeZone == right.date.timeZone;
  }

  Random& random;
  const std::string zone;
  const LocalCalendar calendar;
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const long long step =
      random.Pick(std::vector<long long>{1, 7, 10, 60, 90, 300, 900, 1800, 3600, 7200, DAY});
  long long first = 0;
  long long last = 0;
  std::map<long long, double> samples;  // what the file holds, by time
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient client;
};

TEST(Query, AnswersAsThePrintedSamplesDo) {
  LogCapture log(2);
  Random random;
  const std::vector<std::string> zones = ListZones();
  std::size_t compared = 0;
  for (int files = IS_SLOW != 0 ? 40 : 200; files > 0; --files) {
    RandomFile file(random.Pick(zones), random);
    for (int query = 0; query < 14 * 4; ++query) {
      const QueryInterval interval{static_cast<unsigned char>(query % 14)};
      compared += file.Prove(interval, random.Pick(FUNCTIONS));
      compared += query % 2 == 0 ? file.ProveBounds(random.Pick(FUNCTIONS)) : 0;
      ASSERT_FALSE(HasFailure());
    }
  }
  std::cout << compared << " points compared\n";
}

}  // namespace
