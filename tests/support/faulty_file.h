#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <tuple>

#include "support/temporary_directory.h"
#include "timeseries/host.h"
#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase {

// Operations on a file of twenty rows, while something fails at each of their calls in turn. No
// descriptor stays open, and the file is as before the operation or as after it.
class FaultyFile : public testing::Test {
 protected:
  using Operation = std::function<StatusCode()>;

  static constexpr long long START = 1700000040;  // a multiple of 60
  static constexpr long long END = START + 600;

  void MakeFile() const {
    std::map<long long, double> samples;
    for (long long time = START; time < END; time += 60) {
      samples[time] = 1;
    }
    std::filesystem::remove(path + "-journal");
    ASSERT_EQ(client.Create(path, 60, START - 60, NAN, NAN, 20), StatusCode::Success);
    ASSERT_EQ(client.Update(path, samples), StatusCode::Success);
  }

  // The client's reading operations by their names.
  std::map<std::string, Operation> ListReads(const std::string& source) const {
    return {
        {"GetFirstTimestamp",
         [=, time = 0LL]() mutable { return client.GetFirstTimestamp(source, 0, time); }},
        {"GetLastTimestamp",
         [=, time = 0LL]() mutable { return client.GetLastTimestamp(source, time); }},
        {"GetInterval", [=, step = 0UL]() mutable { return client.GetInterval(source, step); }},
        {"Fetch",
         [=] {
           Rrd::FetchResult result;
           return client.Fetch(source, START, END, result);
         }},
        {"FetchRows",
         [=] {
           Rrd::FetchResult result;
           return client.FetchRows(source, 0, 0, START, END, result);
         }},
        {"Describe",
         [=] {
           Rrd::FileDescription description;
           return client.Describe(source, description);
         }},
    };
  }

  // Runs the operation, on a file made by `prepare`, with the first, the second and each further
  // call failing. `run` returns its status, and whether that call came at all.
  template <typename Run>
  void FailEachCall(const std::function<void()>& prepare, const Operation& operation,
                    StatusCode expected, const Run& run) const {
    prepare();
    const auto before = Look();
    prepare();
    ASSERT_EQ(operation(), expected) << Failure::GetReason();
    const auto after = Look();
    bool hasFailed = true;
    for (int call = 1; hasFailed && !HasFatalFailure(); ++call) {
      SCOPED_TRACE("call " + std::to_string(call));
      prepare();
      const auto descriptors = CountDescriptors();
      StatusCode status{};
      std::tie(status, hasFailed) = run(call);
      ASSERT_EQ(CountDescriptors(), descriptors);
      ASSERT_TRUE(status == expected || hasFailed) << static_cast<int>(status);
      const auto now = Look();
      ASSERT_TRUE(now == after || (now == before && status != expected))
          << static_cast<int>(status) << ' ' << testing::PrintToString(now);
    }
  }

  static std::ptrdiff_t CountDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
  }

  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_TemperatureOfBoiler.rrd");
  const RrdClient client{};

 private:
  // The last update, the rows, and the samples among them.
  std::tuple<long long, unsigned long, long> Look() const {
    Rrd::FileDescription description;
    Rrd::FetchResult result;
    EXPECT_EQ(client.Describe(path, description), StatusCode::Success);
    EXPECT_EQ(client.Fetch(path, START, END + 120, result), StatusCode::Success);
    const double* const first = result.GetData();
    return {description.lastUpdate, description.archives.at(0).rowCount,
            std::count(first, first + result.GetSampleCount(), 1.0)};
  }
};

}  // namespace nvx::TimeSeriesDatabase
