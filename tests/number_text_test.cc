#include "rrd/number_text.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

using nvx::TimeSeriesDatabase::AppendNumber;

namespace {

std::string Printed(double number) {
  char text[400];
  std::snprintf(text, sizeof text, "%f", number);
  return text;
}

TEST(NumberText, HasTheDigitsOfPrintf) {
  std::vector<double> numbers = {0.0,
                                 -0.0,
                                 0.0000005,
                                 0.5e-6,
                                 1.5e-6,
                                 2.5e-6,
                                 0.1 + 0.2,
                                 NAN,
                                 -NAN,
                                 INFINITY,
                                 -INFINITY,
                                 DBL_MAX,
                                 -DBL_MAX,
                                 DBL_MIN,
                                 DBL_TRUE_MIN,
                                 1e15,
                                 123456789.987654321,
                                 0.9999995,
                                 -40.5};
  std::mt19937_64 random(1);
  for (int i = 0; i < 200000; ++i) {
    const std::uint64_t bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    numbers.push_back(number);
    numbers.push_back(std::ldexp(static_cast<double>(static_cast<std::int64_t>(bits)), -40));
  }
  for (const double number : numbers) {
    std::string text = "x:";
    AppendNumber(text, number);
    ASSERT_EQ(text, "x:" + Printed(number));
  }
}

}  // namespace
