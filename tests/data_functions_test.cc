#include "timeseries/data_functions.h"

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <tuple>
#include <utility>

#include "support/log_capture.h"
#include "support/table.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

DataFunction Integral() {
  DataFunction function;
  EXPECT_EQ(DataFunctions::MakeIntegral(10, function), StatusCode::Success);
  return function;
}

DataFunction Percentile(unsigned int thousandths) {
  DataFunction function;
  EXPECT_EQ(DataFunctions::MakePercentile(thousandths, function), StatusCode::Success);
  return function;
}

const std::pair<const char*, DataFunction> FUNCTIONS[] = {
    {"average", DataFunctions::ComputeAverageIgnoringNan},
    {"delta", DataFunctions::ComputeDelta},
    {"increase", DataFunctions::ComputeIncrease},
    {"minimum", DataFunctions::ComputeMinimum},
    {"maximum", DataFunctions::ComputeMaximum},
    {"sum", DataFunctions::ComputeSum},
    {"count", DataFunctions::ComputeCount},
    {"first", DataFunctions::ComputeFirst},
    {"last", DataFunctions::ComputeLast},
    {"deviation", DataFunctions::ComputeDeviation},
    {"integral", Integral()},
    {"median", Percentile(DataFunctions::MEDIAN)},
    {"p95", Percentile(95000)},
};

void ExpectResult(const DataFunction& function, const std::vector<double>& run,
                  const std::string& expected) {
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

TEST(DataFunctions, TakeEmptyRunsAndRefuseNullPointers) {
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

TEST(DataFunctions, RanksAreExact) {
  const std::tuple<unsigned int, std::size_t, double> cases[] = {
      {99900, 1000, 999}, {99900, 1001, 1000}, {95000, 20, 19}, {95000, 21, 20},
      {7000, 100, 7},     {55000, 100, 55},    {1, 100000, 1},  {1, 100001, 2},
      {100000, 17, 17},   {29000, 100, 29},    {50000, 4, 2},   {50000, 5, 3}};
  for (const auto& [thousandths, count, rank] : cases) {
    std::vector<double> run(count);
    for (std::size_t i = 0; i < run.size(); ++i) {
      run[i] = static_cast<double>(run.size() - i);
    }
    ExpectResult(Percentile(thousandths), run, std::to_string(rank) + " good");
  }
}

TEST(DataFunctions, RefusePercentilesAbove100AndAStepOf0) {
  LogCapture log(3);
  const std::string component = "3[TimeSeriesDatabase::DataFunctions] ";
  DataFunction function;
  for (const unsigned int thousandths : {0U, 100001U}) {
    EXPECT_EQ(DataFunctions::MakePercentile(thousandths, function), StatusCode::InvalidArgument);
    EXPECT_EQ(log.Take(), Lines{component + "MakePercentile: No percentile is that of [" +
                                std::to_string(thousandths) + "] thousandths of a percent"});
  }
  EXPECT_EQ(DataFunctions::MakeIntegral(0, function), StatusCode::InvalidArgument);
  EXPECT_EQ(log.Take(), Lines{component + "MakeIntegral: The step is 0"});
  EXPECT_FALSE(function);
}

}  // namespace
