#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "support/dates.h"
#include "support/local_calendar.h"
#include "timeseries/data_functions.h"
#include "timeseries/numerical_data_point.h"
#include "timeseries/rrd/numerical_data_source.h"

// What a query has to answer, computed from a map of the samples that a file holds, from the C
// library's offsets of a zone, and from nothing of the library.

namespace nvx::TimeSeriesDatabase {

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

using Run = std::vector<double>;
using Points = std::vector<NumericalDataPoint>;

struct Answer {
  double value = MISSING;
  bool isGood = false;
};

inline bool IsMissing(double sample) { return std::isnan(sample); }

inline Run WithoutMissing(Run run) {
  run.erase(std::remove_if(run.begin(), run.end(), IsMissing), run.end());
  return run;
}

// What a function makes of the values of a run. Of two samples only the first one counts.
template <typename Reduce>
Answer ReduceOwn(const Run& run, const Reduce& reduce) {
  const Run own = run.size() == 2 ? Run{run[0]} : run;
  const Run valid = WithoutMissing(own);
  return valid.empty() ? Answer{} : Answer{reduce(valid), valid.size() == own.size()};
}

inline double AddUp(const Run& valid) { return std::accumulate(valid.begin(), valid.end(), 0.0); }

inline Answer Average(const Run& run) {
  return ReduceOwn(
      run, [](const Run& valid) { return AddUp(valid) / static_cast<double>(valid.size()); });
}

inline Answer Delta(const Run& run) {
  const Run valid = WithoutMissing(run);
  if (valid.size() < 2) {
    return {};
  }
  return {valid.back() - valid.front(), !IsMissing(run.front()) && !IsMissing(run.back())};
}

inline Answer Increase(const Run& run) {
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

// The samples before the last one are those of the run alone.
inline Answer Count(const Run& run) {
  const Run own(run.begin(), std::max(run.begin() + 1, run.end() - 1));
  const auto count = static_cast<double>(WithoutMissing(own).size());
  return {count, count == static_cast<double>(own.size())};
}

inline Answer Sum(const Run& run) {
  const Run valid = WithoutMissing(Run(run.begin(), std::max(run.begin() + 1, run.end() - 1)));
  return valid.empty() ? Answer{} : Answer{AddUp(valid), Count(run).isGood};
}

inline Answer Minimum(const Run& run) {
  return ReduceOwn(run,
                   [](const Run& valid) { return *std::min_element(valid.begin(), valid.end()); });
}

inline Answer Maximum(const Run& run) {
  return ReduceOwn(run,
                   [](const Run& valid) { return *std::max_element(valid.begin(), valid.end()); });
}

inline Answer First(const Run& run) {
  return ReduceOwn(run, [](const Run& valid) { return valid.front(); });
}

inline Answer Last(const Run& run) {
  return ReduceOwn(run, [](const Run& valid) { return valid.back(); });
}

template <unsigned int THOUSANDTHS>
Answer Percentile(const Run& run) {
  return ReduceOwn(run, [](Run valid) {
    std::sort(valid.begin(), valid.end());
    return valid[(valid.size() * THOUSANDTHS + 99999) / 100000 - 1];
  });
}

inline DataFunction MakePercentile(unsigned int thousandths) {
  DataFunction function;
  EXPECT_EQ(DataFunctions::MakePercentile(thousandths, function), StatusCode::Success);
  return function;
}

// A function, and what it makes of the samples of one interval.
struct Function {
  const char* name;
  DataFunction compute;
  Answer (*reduce)(const Run&);
};

inline const Function FUNCTIONS[] = {
    {"average", DataFunctions::ComputeAverageIgnoringNan, Average},
    {"delta", DataFunctions::ComputeDelta, Delta},
    {"increase", DataFunctions::ComputeIncrease, Increase},
    {"minimum", DataFunctions::ComputeMinimum, Minimum},
    {"maximum", DataFunctions::ComputeMaximum, Maximum},
    {"sum", DataFunctions::ComputeSum, Sum},
    {"count", DataFunctions::ComputeCount, Count},
    {"first", DataFunctions::ComputeFirst, First},
    {"last", DataFunctions::ComputeLast, Last},
    {"p0.001", MakePercentile(1), Percentile<1>},
    {"median", MakePercentile(DataFunctions::MEDIAN), Percentile<DataFunctions::MEDIAN>},
    {"p95", MakePercentile(95000), Percentile<95000>},
};

// By the operation that callers use for it.
inline StatusCode FetchPoints(Rrd::NumericalDataSource& source, const TimeWindow& window,
                              QueryInterval interval, const Function& function, Points& points) {
  return function.reduce == Average ? source.FetchAverage(window, interval, points)
         : function.reduce == Delta ? source.FetchDelta(window, interval, points)
                                    : source.Fetch(window, interval, function.compute, points);
}

class PlainQuery {
 public:
  // The samples by their time, which may be missing, and the zone of the calendar.
  PlainQuery(const std::map<long long, double>& fileSamples, long long fileStep,
             std::string zoneName, const LocalCalendar& zoneCalendar)
      : samples(fileSamples), step(fileStep), zone(std::move(zoneName)), calendar(zoneCalendar) {}

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

  static bool AreSame(const Points& points, const Points& expected) {
    return std::equal(points.begin(), points.end(), expected.begin(), expected.end(), IsSame);
  }

  static bool IsSame(const NumericalDataPoint& left, const NumericalDataPoint& right) {
    const bool isSameValue =
        left.value == right.value || (IsMissing(left.value) && IsMissing(right.value));
    return isSameValue && left.quality == right.quality &&
           left.date.timestamp == right.date.timestamp && left.date.timeZone == right.date.timeZone;
  }

 private:
  long long RoundUp(long long time) const { return (time + step - 1) / step * step; }

  Run Read(long long start, long long end) const {
    Run read;
    for (long long time = RoundUp(start); time <= RoundUp(end); time += step) {
      const auto sample = samples.find(time);
      read.push_back(sample == samples.end() ? MISSING : sample->second);
    }
    return read;
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

  const std::map<long long, double>& samples;
  const long long step;
  const std::string zone;
  const LocalCalendar& calendar;
};

}  // namespace nvx::TimeSeriesDatabase
