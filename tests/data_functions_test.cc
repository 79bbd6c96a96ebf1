#include "timeseries/data_functions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <utility>

#include "support/log_capture.h"
#include "support/random.h"
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

// With gaps, infinities and equal values. Of two samples, only the first counts.
std::vector<double> MakeRun(Random& random) {
  constexpr double INFINITE = std::numeric_limits<double>::infinity();
  const long long values = random.Pick(std::vector<long long>{3, 100, 1000000});
  const long long specials = random.Pick(std::vector<long long>{0, 1, 10, 95});
  std::vector<double> run(static_cast<std::size_t>(random.Between(1, random.Between(1, 300))));
  for (double& sample : run) {
    sample = random.Between(0, 99) >= specials
                 ? static_cast<double>(random.Between(-values, values)) * 0.125
                 : random.Pick(std::vector<double>{NAN, NAN, INFINITE, -INFINITE});
  }
  return run;
}

TEST(DataFunctions, APercentileIsThatOfTheSortedRun) {
  Random random;
  std::vector<unsigned int> percentages = {1, DataFunctions::MEDIAN, 95000, 99900, 99999, 100000};
  percentages.push_back(static_cast<unsigned int>(random.Between(1, 100000)));
  std::vector<DataFunction> functions;
  std::transform(percentages.begin(), percentages.end(), std::back_inserter(functions), Percentile);
  for (int count = 0; count < 10000; ++count) {
    const std::vector<double> run = MakeRun(random);
    std::vector<double> sorted = run.size() == 2 ? std::vector<double>{run[0]} : run;
    const std::size_t length = sorted.size();
    sorted.erase(std::remove_if(sorted.begin(), sorted.end(), [](double v) { return v != v; }),
                 sorted.end());
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t i = 0; i < functions.size(); ++i) {
      double value = 7;
      bool isValid = sorted.size() != length;
      EXPECT_EQ(functions[i](run.data(), run.data() + run.size() - 1, value, isValid),
                StatusCode::Success);
      std::size_t rank = 1;
      while (rank * 100000 < sorted.size() * percentages[i]) {
        ++rank;
      }
      ASSERT_TRUE(sorted.empty() ? std::isnan(value) : value == sorted[rank - 1])
          << percentages[i] << " of " << testing::PrintToString(run) << " is " << value;
      ASSERT_EQ(isValid, sorted.size() == length);
    }
  }
}

TEST(DataFunctions, RanksAreExact) {
  struct {
    unsigned int thousandths;
    std::size_t count;
    double rank;
  } const cases[] = {{99900, 1000, 999}, {99900, 1001, 1000}, {95000, 20, 19}, {95000, 21, 20},
                     {7000, 100, 7},     {55000, 100, 55},    {1, 100000, 1},  {1, 100001, 2},
                     {100000, 17, 17},   {29000, 100, 29},    {50000, 4, 2},   {50000, 5, 3}};
  for (const auto& exact : cases) {
    std::vector<double> run(exact.count);
    for (std::size_t i = 0; i < run.size(); ++i) {
      run[i] = static_cast<double>(run.size() - i);
    }
    ExpectResult(Percentile(exact.thousandths), run, std::to_string(exact.rank) + " good");
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
