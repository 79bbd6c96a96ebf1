// The command line, run as it is typed: each file of tests/data/cli is a transcript.

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include "support/shell.h"
#include "support/transcript.h"

namespace {

constexpr char DIRECTORY[] = TEST_DATA "/cli";

std::vector<std::string> ListTranscripts() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(DIRECTORY)) {
    names.push_back(entry.path().stem());
  }
  return names;
}

std::string GetName(const testing::TestParamInfo<std::string>& transcript) {
  return transcript.param;
}

class Transcript : public testing::TestWithParam<std::string> {};

TEST_P(Transcript, IsRepeated) {
  const std::string path = std::string(DIRECTORY) + "/" + GetParam() + ".txt";
  const Shell shell;
  const std::vector<Step> steps = ReadTranscript(path);
  EXPECT_FALSE(steps.empty());
  for (const Step& step : steps) {
    const std::string answer = Show(shell.Run(step.command));
    if (answer != step.answer) {
      ADD_FAILURE_AT(path.c_str(), step.line) << "$ " << step.command << "\nexpected:\n"
                                              << step.answer << "actual:\n"
                                              << answer;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(CommandLine, Transcript, testing::ValuesIn(ListTranscripts()), GetName);

TEST(Weather, HasTheDailyAveragesOfAnIndependentComputation) {
  const ProgramResult result = Shell().Run(R"(set -e
    for column in temperature pressure wind; do
      nvx-timeseries create topo:$column --step 3600 --rows 8760 --start 1262332800
      nvx-timeseries update topo:$column --csv "$DATA"/seattle-weather-hourly.csv --column $column
      for zone in America/Los_Angeles Europe/Paris Pacific/Auckland; do
        nvx-timeseries query topo:$column --interval 1d --from 1262336400 --zone $zone \
            --format csv >days.csv
        python3 "$DATA"/../support/daily_averages.py "$DATA"/seattle-weather-hourly.csv \
            $column $zone <days.csv
      done
    done)");
  std::cout << result.output;
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
}

}  // namespace
