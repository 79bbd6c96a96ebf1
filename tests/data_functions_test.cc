#include "timeseries/data_functions.h"

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "support/table.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

using Function = decltype(&DataFunctions::ComputeDelta);

const std::pair<const char*, Function> FUNCTIONS[] = {
    {"average", DataFunctions::ComputeAverageIgnoringNan},
    {"delta", DataFunctions::ComputeDelta},
    {"increase", DataFunctions::ComputeIncrease},
    {"minimum", DataFunctions::ComputeMinimum},
    {"maximum", DataFunctions::ComputeMaximum},
    {"sum", DataFunctions::ComputeSum},
    {"count", DataFunctions::ComputeCount},
};

void ExpectResult(Function function, const std::vector<double>& run, const std::string& expected) {
  double value = 0;
  bool isValid = expected.find("good") == std::string::npos;
  EXPECT_EQ(function(run.data(), run.data() + run.size() - 1, value, isValid), StatusCode::Success);
  const double expectedValue = std::strtod(expected.c_str(), nullptr);
  EXPECT_TRUE(std::isnan(expectedValue) ? std::isnan(value) && !std::signbit(value)
                                        : value == expectedValue)
      << value << " instead of " << expected;
  EXPECT_EQ(isValid, expected.find("good") != std::string::npos) << expected;
}

TEST(DataFunctions, ReduceARunOfSamples) {
  ForEachRow("runs.txt", [](const Row& row) {
    std::istringstream samples(row["run"]);
    std::vector<double> run;
    for (std::string sample; samples >> sample;) {
      run.push_back(std::strtod(sample.c_str(), nullptr));
    }
    for (const auto& [name, function] : FUNCTIONS) {
      ExpectResult(function, run, row[name]);
    }
  });
}

TEST(DataFunctions, EmptyRunsAndNullPointers) {
  const double samples[] = {1, 2};
  for (const auto& [name, function] : FUNCTIONS) {
    double value = 7;
    bool isValid = true;
    EXPECT_EQ(function(nullptr, samples, value, isValid), StatusCode::NullPointer);
    EXPECT_EQ(function(samples, nullptr, value, isValid), StatusCode::NullPointer);
    EXPECT_TRUE(value == 7 && isValid);
    EXPECT_EQ(function(samples + 1, samples, value, isValid), StatusCode::Success);
    EXPECT_TRUE((std::isnan(value) || value == 0) && !isValid) << name;
  }
  EXPECT_EQ(DataFunctions::SearchForFirstValidSample(nullptr, 0), nullptr);
  EXPECT_EQ(DataFunctions::SearchForLastValidSample(nullptr, 0), nullptr);
}

}  // namespace
