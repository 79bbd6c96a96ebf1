// RrdClient on real files.

#include "timeseries/rrd_client.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_directory.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long START = 1700000040;  // a multiple of 60

std::map<long long, double> Fetch(const RrdClient& client, const std::string& path, long long start,
                                  long long end) {
  std::map<long long, double> samples;
  Rrd::FetchResult result;
  EXPECT_EQ(client.Fetch(path, start, end, result), StatusCode::Success);
  for (unsigned int i = 0; i < result.GetSampleCount(); ++i) {
    const long long time = result.GetStartTime() + i * static_cast<long long>(result.GetStep());
    samples[time] = result.GetData()[i];
  }
  return samples;
}

void ExpectSame(const std::map<long long, double>& actual,
                const std::map<long long, double>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (const auto& [time, value] : expected) {
    ASSERT_EQ(actual.count(time), 1u) << time;
    EXPECT_TRUE(std::isnan(value) ? std::isnan(actual.at(time))
                                  : std::abs(actual.at(time) - value) <= std::abs(value) * 1e-9)
        << time << ": " << actual.at(time) << " instead of " << value;
  }
}

std::map<long long, double> Ramp(int count) {
  std::map<long long, double> samples;
  for (int i = 0; i < count; ++i) {
    samples[START + i * 60] = i == 10 ? NAN : i / 8.0;
  }
  return samples;
}

class RrdFile : public testing::Test {
 protected:
  RrdFile() {
    EXPECT_EQ(client.Create(path, 60, START - 60, NAN, NAN, 100), StatusCode::Success);
    EXPECT_EQ(client.Update(path, Ramp(90)), StatusCode::Success);
  }

  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("a.rrd");
  const RrdClient client;
};

// With a 32-bit long, the RRD library would return nonsense or corrupt the heap.
TEST_F(RrdFile, RefusesWhat32BitsDoNotHold) {
  if (sizeof(long) > 4) {
    GTEST_SKIP() << "only where a long has 32 bits";
  }
  constexpr long long LATEST = 2147483647;
  EXPECT_EQ(client.Update(path, {{LATEST, 1}, {LATEST + 1, 2}}), StatusCode::Failure);
  ExpectSame(Fetch(client, path, START, START + 89 * 60), Ramp(90));
  EXPECT_EQ(client.Update(path, {{LATEST, 1}}), StatusCode::Success);

  Rrd::FetchResult result;
  EXPECT_EQ(client.Create(path, 1, START, NAN, NAN, 100), StatusCode::Success);
  for (const long long start : {START - (1LL << 28), START - (1LL << 31), START - (1LL << 32)}) {
    EXPECT_EQ(client.Fetch(path, start, START, result), StatusCode::Failure) << start;
  }
}

TEST_F(RrdFile, StaysAsItWasWhenACallFails) {
  const long long end = START + 89 * 60;
  EXPECT_EQ(client.Update(path, {{end, 1}, {end + 60, 2}}), StatusCode::Failure);
  EXPECT_EQ(client.Migrate(path, 60, end, 5, 5, 100), StatusCode::Failure);
  EXPECT_EQ(client.Create(path, -60, end, 0, 1, 100), StatusCode::Failure);
  ExpectSame(Fetch(client, path, START, end), Ramp(90));
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
  ExpectSame(Fetch(client, other, START, START + 89 * 60), Ramp(90));
}

}  // namespace
