#include <map>
#include <set>
#include <sstream>

#include "nvx/workstation/in_memory_redis_client.h"
#include "support/log_capture.h"
#include "support/plain_query.h"
#include "support/random.h"
#include "support/run_program.h"
#include "support/temporary_directory.h"
#include "timeseries/calendar.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long DAY = 86400;

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
    const StatusCode code = plain.Expect(window, interval, function.reduce, expected);
    EXPECT_EQ(FetchPoints(source, window, interval, function, points), code);
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
              plain.ExpectRuns({times.begin(), times.end()}, function.reduce, expected));
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

  static void ExpectSame(const Points& points, const Points& expected) {
    EXPECT_EQ(points.size(), expected.size());
    const auto differing = std::mismatch(points.begin(), points.end(), expected.begin(),
                                         expected.end(), PlainQuery::IsSame);
    EXPECT_TRUE(differing.first == points.end()) << "point " << differing.first - points.begin();
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
  const PlainQuery plain{samples, step, zone, calendar};
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
    for (int query = 0; query < 14 * 5; ++query) {
      const QueryInterval interval{static_cast<unsigned char>(query % 14)};
      compared += file.Prove(interval, random.Pick(FUNCTIONS));
      compared += query % 2 == 0 ? file.ProveBounds(random.Pick(FUNCTIONS)) : 0;
      ASSERT_FALSE(HasFailure());
    }
  }
  std::cout << compared << " points compared\n";
}

}  // namespace
