#include "rrd/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

#include "support/random.h"

namespace {

TEST(NumberText, HasTheDigitsOfPrintf) {
  std::vector<double> numbers;
  std::istringstream special(
      "0 -0 5e-7 0.5e-6 1.5e-6 2.5e-6 0.1 -40.5 0.9999995 123456789.987654321 1e15 5e-324 nan -nan "
      "inf -inf 1.7976931348623157e308 -1.7976931348623157e308 2.2250738585072014e-308");
  for (std::string word; special >> word;) {
    numbers.push_back(std::strtod(word.c_str(), nullptr));
  }
  Random random;
  for (int i = 0; i < 200000; ++i) {
    const std::uint64_t bits = random();
    numbers.push_back(0);
    std::memcpy(&numbers.back(), &bits, sizeof bits);
    numbers.push_back(std::ldexp(static_cast<double>(static_cast<std::int64_t>(bits)), -40));
  }
  for (const double number : numbers) {
    std::string text = "x:";
    nvx::TimeSeriesDatabase::AppendNumber(text, number);
    char printed[400];
    std::snprintf(printed, sizeof printed, "x:%f", number);
    ASSERT_EQ(text, printed);
  }
}

}  // namespace
