#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace nvx::TimeSeriesDatabase::CommandLine {

// What the rows of one interval come to, each counted for as many seconds as lie in the interval.
class SpanSum {
 public:
  // Adds a row for `seconds` of the interval. `straddling` is the length of a row that goes on
  // behind a bound of it, or else 0.
  void Add(double value, long long seconds, long long straddling) {
    if (std::isnan(value)) {
      return;
    }
    known += seconds;
    longestStraddling = std::max(longestStraddling, straddling);
    least = std::min(least, value);
    greatest = std::max(greatest, value);
    AddExactly(static_cast<long double>(value) * static_cast<long double>(seconds));
  }

  bool IsEmpty() const { return known == 0; }

  long long GetKnownSeconds() const { return known; }

  // Value times seconds.
  long double GetIntegral() const { return std::isfinite(sum) ? sum + rest : sum; }

  double GetLeast() const { return least; }
  double GetGreatest() const { return greatest; }

  // Whether all of an interval of so many seconds is known, and hardly any of it by rows that tell
  // of other intervals, too.
  bool IsGood(long long length) const {
    constexpr long long LARGEST_PART = 10;
    return known == length && longestStraddling <= length / LARGEST_PART;
  }

 private:
  // Keeps what the rounding of the sum loses.
  void AddExactly(long double summand) {
    const long double next = sum + summand;
    rest += std::abs(sum) >= std::abs(summand) ? (sum - next) + summand : (summand - next) + sum;
    sum = next;
  }

  long double sum = 0;
  long double rest = 0;
  long long known = 0;
  long long longestStraddling = 0;
  double least = std::numeric_limits<double>::infinity();
  double greatest = -std::numeric_limits<double>::infinity();
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
