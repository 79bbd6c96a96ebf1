#include "timeseries/data_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace nvx::TimeSeriesDatabase;

namespace {

struct Case {
  std::vector<double> samples;
  double average;
  bool isAverageValid;
  double delta;
  bool isDeltaValid;
};

void ExpectSame(double actual, double expected) {
  EXPECT_TRUE(std::isnan(expected) ? std::isnan(actual) : actual == expected)
      << actual << " instead of " << expected;
}

TEST(DataFunctions, ReduceARunOfSamples) {
  const Case cases[] = {
      {{1, 2, 3, 4}, 2.5, true, 3, true},
      {{10, 12, 15}, 37.0 / 3, true, 5, true},
      {{1, NAN, 3}, 2, false, 2, true},
      {{NAN, 12, 15}, 13.5, false, 3, false},
      {{10, NAN, NAN}, 10, false, NAN, false},
      {{NAN, 12, NAN}, 12, false, NAN, false},
      {{NAN, NAN, NAN}, NAN, false, NAN, false},
      {{5, 7}, 5, true, 2, true},
      {{NAN, 7}, NAN, false, NAN, false},
      {{5, NAN}, 5, true, NAN, false},
      {{4}, 4, true, NAN, false},
      {{NAN}, NAN, false, NAN, false},
      {{INFINITY, 1, 2}, INFINITY, true, -INFINITY, true},
      {{1e16, 1, -1e16}, 0, true, -2e16, true},  // summed in order
  };
  for (const Case& expected : cases) {
    const double* const first = expected.samples.data();
    const double* const last = first + expected.samples.size() - 1;
    double value = 0;
    bool isValid = !expected.isAverageValid;
    EXPECT_EQ(DataFunctions::ComputeAverageIgnoringNan(first, last, value, isValid),
              StatusCode::Success);
    ExpectSame(value, expected.average);
    EXPECT_EQ(isValid, expected.isAverageValid);

    isValid = !expected.isDeltaValid;
    EXPECT_EQ(DataFunctions::ComputeDelta(first, last, value, isValid), StatusCode::Success);
    ExpectSame(value, expected.delta);
    EXPECT_EQ(isValid, expected.isDeltaValid);
  }
}

TEST(DataFunctions, EmptyRunsAndNullPointers) {
  const double samples[] = {1, 2};
  for (const auto function :
       {DataFunctions::ComputeAverageIgnoringNan, DataFunctions::ComputeDelta}) {
    double value = 7;
    bool isValid = true;
    EXPECT_EQ(function(nullptr, samples, value, isValid), StatusCode::NullPointer);
    EXPECT_EQ(function(samples, nullptr, value, isValid), StatusCode::NullPointer);
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(isValid);
    EXPECT_EQ(function(samples + 1, samples, value, isValid), StatusCode::Success);
    EXPECT_TRUE(std::isnan(value) && !std::signbit(value));
    EXPECT_FALSE(isValid);
  }
}

TEST(DataFunctions, SearchesFromEitherEnd) {
  const double samples[] = {NAN, 1, NAN, 2, NAN};
  EXPECT_EQ(DataFunctions::SearchForFirstValidSample(samples, 5), samples + 1);
  EXPECT_EQ(DataFunctions::SearchForLastValidSample(samples + 4, 5), samples + 3);
  EXPECT_EQ(DataFunctions::SearchForFirstValidSample(samples, 1), nullptr);
  EXPECT_EQ(DataFunctions::SearchForLastValidSample(samples + 4, 1), nullptr);
  EXPECT_EQ(DataFunctions::SearchForFirstValidSample(nullptr, 0), nullptr);
  EXPECT_EQ(DataFunctions::SearchForLastValidSample(nullptr, 0), nullptr);
}

}  // namespace
