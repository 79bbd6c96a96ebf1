// The command line, run as it is typed: each file of tests/data/cli is a transcript.

#include <gtest/gtest.h>

#include <iostream>

#include <filesystem>

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

class Transcript : public testing::TestWithParam<std::string> {};

TEST_P(Transcript, IsRepeated) {
  if (GetParam() == "arm32" && sizeof(long) > 4) {
    GTEST_SKIP() << "files of 32-bit ARM are read by the RRD library of 32-bit ARM alone";
  }
  const std::string path = std::string(DIRECTORY) + "/" + GetParam() + ".txt";
  const Shell shell;
  const std::vector<Step> steps = ReadTranscript(path);
  EXPECT_FALSE(steps.empty());
  for (const Step& step : steps) {
    ExpectAnswer(path, step, Show(shell.Run(step.command)));
  }
}

INSTANTIATE_TEST_SUITE_P(CommandLine, Transcript, testing::ValuesIn(ListTranscripts()),
                         [](const auto& transcript) { return transcript.param; });

// On disks with room for 0 to 19 blocks of 4 KiB, the commands succeed or leave everything as it
// was.
TEST(FullDisk, LeavesTheOldFilesAndNoOthers) {
  const Shell shell;
  if (shell.Run("unshare -m mount -t tmpfs none .").status != 0) {
    GTEST_SKIP() << "no file system of a few blocks can be mounted here";
  }
  const ProgramResult result = shell.Run(R"sh(cat >test <<'END'
    mount -t tmpfs -o size=256k none disk; cd disk
    nvx-timeseries create topo:a --step 60 --rows 4000 --start 1000000000
    nvx-timeseries update topo:a 1000000060:1 >/dev/null
    cp "$DATA"/legacy/gauge.legacy.rrd old; cp * ../kept
    for free in $(seq 0 19); do
      head -c $((4096 * free)) /dev/zero >free; cat /dev/zero >filler 2>../error; rm free
      for command in 'create topo:b --rows 4096 --step 60' 'migrate topo:a --rows 4608 --step 60' \
                     'convert old new' 'convert old --in-place'; do
        nvx-timeseries $command --log-level none >../output 2>../error; status=$?
        if [ $status -ne 0 ]; then
          grep -q 'No space left' ../error && ls -A | grep -Ev '^(topo_a.rrd|old|filler)$'
          for file in ../kept/*; do cmp $file ${file##*/}; done
        fi
        echo ${command%% *} $status >>../statuses
        rm -f topo_b.rrd new; cp ../kept/* .
      done
      rm filler
    done
END
mkdir disk kept; unshare -m sh test; sort -u statuses | xargs)sh");
  EXPECT_EQ(result.output + result.error,
            "convert 0 convert 1 create 0 create 1 migrate 0 migrate 1\n");
}

TEST(Weather, HasTheDailyAveragesOfAnIndependentComputation) {
  const ProgramResult result = Shell().Run(R"(set -e
    for column in temperature pressure wind; do
      nvx-timeseries create topo:$column --step 3600 --rows 8760 --start 1262332800
      nvx-timeseries update topo:$column --csv "$DATA"/seattle-weather-hourly.csv --column $column
      for zone in America/Los_Angeles Europe/Paris Pacific/Auckland; do
        nvx-timeseries query topo:$column --interval 1d --from 1262336400 --zone $zone \
            --format csv >days.csv
        python3 "$DATA"/../../debian/tests/daily_averages.py "$DATA"/seattle-weather-hourly.csv \
            $column $zone <days.csv
      done
    done)");
  std::cout << result.output;
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
}

}  // namespace
