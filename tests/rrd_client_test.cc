// RrdClient on real files.

#include "timeseries/rrd_client.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/files.h"
#include "support/memory_limit.h"
#include "support/one_file.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long START = 1700000040;  // a multiple of 60

// The rows of the samples.
std::vector<double> ReadRows(const RrdClient& client, const std::string& path) {
  Rrd::FetchResult result;
  EXPECT_EQ(client.Fetch(path, START, START + 89 * 60, result), StatusCode::Success);
  return {result.GetData(), result.GetData() + result.GetSampleCount()};
}

std::map<long long, double> Ramp(int count) {
  std::map<long long, double> samples;
  for (int i = 0; i < count; ++i) {
    samples[START + i * 60] = i == 10 ? -0.25 : i / 8.0;
  }
  return samples;
}

class RrdFile : public OneFile {
 protected:
  RrdFile() {
    EXPECT_EQ(client.Create(path, 60, START - 60, NAN, NAN, 100), StatusCode::Success);
    EXPECT_EQ(client.Update(path, Ramp(90)), StatusCode::Success);
  }
};

// With a 32-bit long, the RRD library would return nonsense or corrupt the heap.
TEST_F(RrdFile, RefusesWhat32BitsDoNotHold) {
  if (sizeof(long) > 4) {
    GTEST_SKIP() << "only where a long has 32 bits";
  }
  constexpr long long LATEST = 2147483647;
  const std::string before = ReadFile(path);
  EXPECT_EQ(client.Update(path, {{LATEST, 1}, {LATEST + 1, 2}}), StatusCode::Failure);
  EXPECT_TRUE(ReadFile(path) == before);
  EXPECT_EQ(client.Update(path, {{LATEST, 1}}), StatusCode::Success);

  Rrd::FetchResult result;
  EXPECT_EQ(client.Create(path, 1, START, NAN, NAN, 100), StatusCode::Success);
  for (const long long start : {START - (1LL << 28), START - (1LL << 31), START - (1LL << 32)}) {
    EXPECT_EQ(client.Fetch(path, start, START, result), StatusCode::Failure) << start;
  }
}

TEST_F(RrdFile, HasRowsOfEveryWindow) {
  constexpr long long FAR = 1LL << 40;
  constexpr double MISSING = -1;
  Rrd::FetchResult result;
  for (const auto& [start, end, expected] :
       {std::tuple(START, START + 60, std::vector<double>{0, 0.125}),
        std::tuple(START - 59, START + 1, std::vector<double>{0, 0.125}),
        std::tuple(START + 89 * 60, START + 90 * 60, std::vector<double>{89 / 8.0, MISSING}),
        std::tuple(START - 660, START - 540, std::vector<double>{MISSING, MISSING, MISSING}),
        std::tuple(-90LL, -30LL, std::vector<double>{MISSING, MISSING}),
        std::tuple(-FAR, 60 - FAR, std::vector<double>{MISSING, MISSING}),
        std::tuple(FAR - 60, FAR, std::vector<double>{MISSING, MISSING})}) {
    ASSERT_EQ(client.FetchRows(path, 0, 0, start, end, result), StatusCode::Success);
    std::vector<double> rows(result.GetData(), result.GetData() + result.GetSampleCount());
    for (double& row : rows) {
      row = std::isnan(row) ? MISSING : row;
    }
    EXPECT_EQ(rows, expected) << start;
    EXPECT_EQ(result.GetEndTime(), START + (end - START + 59 + FAR * 60) / 60 * 60 - FAR * 60);
  }
  for (const auto& [archive, source, start, end] :
       {std::tuple(1UL, 0UL, START, START), std::tuple(0UL, 1UL, START, START),
        std::tuple(0UL, 0UL, START + 1, START), std::tuple(0UL, 0UL, -FAR - 1, START),
        std::tuple(0UL, 0UL, START, FAR + 1), std::tuple(0UL, 0UL, 0LL, FAR)}) {
    EXPECT_EQ(client.FetchRows(path, archive, source, start, end, result), StatusCode::Failure);
    EXPECT_EQ(result.GetSampleCount(), 2u);
  }
}

TEST_F(RrdFile, HasNoRowsWithoutMemory) {
  if (!IsMemoryLimitable()) {
    GTEST_SKIP() << "memory cannot be limited here";
  }
  Rrd::FetchResult result;
  const ResourceLimit memory(RLIMIT_AS, 512 << 20);
  EXPECT_EQ(client.FetchRows(path, 0, 0, START - (60LL << 27) + 60, START, result),
            StatusCode::Failure);
  EXPECT_STREQ(Failure::GetReason(), "out of memory");
}

TEST_F(RrdFile, StaysAsItWasWhenACallFails) {
  constexpr long long LATEST = 1LL << 40;
  const long long end = START + 89 * 60;
  const std::string before = ReadFile(path);
  EXPECT_EQ(client.Update(path, {{end, 1}, {end + 60, 2}}), StatusCode::Failure);
  EXPECT_EQ(client.Update(path, {{LATEST + 1, 1}}), StatusCode::Failure);
  EXPECT_EQ(client.Migrate(path, 60, end, 5, 5, 100), StatusCode::Failure);
  EXPECT_EQ(client.Migrate(path, 60, LATEST + 1, 0, 1, 100), StatusCode::Failure);
  EXPECT_EQ(client.Create(path, -60, end, 0, 1, 100), StatusCode::Failure);
  EXPECT_EQ(client.Create(path, 60, LATEST + 1, 0, 1, 100), StatusCode::Failure);
  EXPECT_TRUE(ReadFile(path) == before);
  EXPECT_EQ(client.Update(path, {{LATEST, 1}}),
            sizeof(long) == 4 ? StatusCode::Failure : StatusCode::Success);
  EXPECT_EQ(client.Create(path, 60, LATEST, 0, 1, 100), StatusCode::Success);
}

TEST_F(RrdFile, KeepsAFailureForEachThread) {
  const std::string longName(2000, 'x');
  long long time = 0;
  EXPECT_EQ(client.GetLastTimestamp(longName, time), StatusCode::NotFound);
  std::thread([&] {
    EXPECT_STREQ(Failure::GetReason(), "");
    EXPECT_EQ(client.GetLastTimestamp(directory.GetPath("none"), time), StatusCode::NotFound);
  }).join();
  EXPECT_EQ(client.GetLastTimestamp(path, time), StatusCode::Success);
  EXPECT_EQ(Failure::GetReason(), "there is no file '" + longName.substr(0, 1005));
}

TEST_F(RrdFile, IsWrittenAlikeUnderACommaLocale) {
  ASSERT_EQ(setenv("LOCPATH", LOCALES, 1), 0);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  char text[16];
  std::snprintf(text, sizeof text, "%.1f", 0.5);
  ASSERT_STREQ(text, "0,5");

  const std::string other = directory.GetPath("b.rrd");
  EXPECT_EQ(client.Create(other, 60, START - 60, -0.5, 1e6, 100), StatusCode::Success);
  EXPECT_EQ(client.Update(other, Ramp(90)), StatusCode::Success);
  EXPECT_EQ(client.Migrate(other, 60, START + 89 * 60, -0.25, 1e6, 100), StatusCode::Success);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(ReadRows(client, other), ReadRows(client, path));
}

}  // namespace
