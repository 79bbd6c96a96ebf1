#include "row.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace Bench {

const char* const HEADINGS =
    "| work | rival | ours | theirs | ratio | wanted | our memory | their memory |\n"
    "|---|---|---:|---:|---:|---:|---:|---:|\n";

namespace {

using Clock = std::chrono::steady_clock;

constexpr double SHORTEST_RUN = 0.02;  // seconds; faster work is repeated until it takes this long
constexpr std::chrono::seconds BUDGET(8);  // for the rounds of a row
constexpr std::size_t FEWEST_ROUNDS = 3;
constexpr std::size_t MOST_ROUNDS = 101;

long peakOfCommands = 0;  // KiB

// The seconds that the work takes once, as the mean of `count` times.
double Time(const Side& side, int count) {
  if (side.prepare) {
    side.prepare();
  }
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < count; ++i) {
    side.work();
  }
  return std::chrono::duration<double>(Clock::now() - start).count() / count;
}

// How often the work is repeated in one run: only once when it has to be prepared.
int FindCount(const Side& side) {
  return side.prepare ? 1 : std::max(1, static_cast<int>(SHORTEST_RUN / Time(side, 1)));
}

double Median(std::vector<double> numbers) {
  const auto middle = numbers.begin() + static_cast<std::ptrdiff_t>(numbers.size() / 2);
  std::nth_element(numbers.begin(), middle, numbers.end());
  return *middle;
}

// KiB, from a line of /proc/self/status.
long ReadStatus(const std::string& key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, key.size(), key) == 0) {
      return std::strtol(line.c_str() + key.size(), nullptr, 10);
    }
  }
  return 0;
}

// By how many KiB the work increases the peak memory of this process, or the size of its command.
long MeasurePeak(const Side& side) {
  if (side.prepare) {
    side.prepare();
  }
  peakOfCommands = 0;
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak
  const long before = ReadStatus("VmRSS:");
  side.work();
  return std::max(ReadStatus("VmHWM:") - before, peakOfCommands);
}

struct Measurement {
  explicit Measurement(const Side& measured) : side(measured) {
    (void)Time(side, 1);  // loads what every run needs
    count = FindCount(side);
    peak = MeasurePeak(side);
  }

  void Run() { times.push_back(Time(side, count)); }

  const Side& side;
  int count;
  long peak;
  std::vector<double> times;
};

// In turns, so that a machine that is busy for a while slows both sides.
void Compare(Measurement& ours, Measurement& theirs) {
  const Clock::time_point start = Clock::now();
  do {
    ours.Run();
    theirs.Run();
  } while (ours.times.size() < FEWEST_ROUNDS ||
           (Clock::now() - start < BUDGET && ours.times.size() < MOST_ROUNDS));
}

std::string Format(const char* format, double number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string FormatTime(double seconds) {
  if (seconds < 1e-3) {
    return Format("%.1f µs", seconds * 1e6);
  }
  return seconds < 1 ? Format("%.2f ms", seconds * 1e3) : Format("%.2f s", seconds);
}

// With the rate of the rows, if there is a count of them.
std::string FormatSide(double seconds, double rowCount) {
  return FormatTime(seconds) +
         (rowCount == 0 ? "" : Format(", %.2f million rows a second", rowCount / seconds / 1e6));
}

std::string FormatMemory(long kibibytes) {
  return Format("%.1f MiB", static_cast<double>(kibibytes) / 1024);
}

std::string FormatGoal(const Goal& goal) {
  switch (goal.kind) {
    case Goal::Kind::AtMost:
      return Format("at most %.2f", goal.limit);
    case Goal::Kind::TimesFaster:
      return Format("%.3g x faster", goal.limit);
    default:
      return Format("at most +%.0f ns a point", goal.limit);
  }
}

std::string FormatRatio(const Goal& goal, double ours, double theirs) {
  const double extra = (ours - theirs) * 1e9 / goal.pointCount;
  bool isReached = false;
  std::string text;
  switch (goal.kind) {
    case Goal::Kind::AtMost:
      isReached = ours / theirs <= goal.limit;
      text = Format("%.2f", ours / theirs);
      break;
    case Goal::Kind::TimesFaster:
      isReached = theirs / ours >= goal.limit;
      text = Format("%.3g x faster", theirs / ours);
      break;
    default:
      isReached = extra <= goal.limit;
      text = Format("%+.1f ns a point", extra);
  }
  return isReached ? text : text + ", missed";
}

}  // namespace

void PrintRow(const Row& row) {
  std::printf("| %s | %s | ", row.work.c_str(), row.rival.c_str());
  std::fflush(stdout);
  const std::string goal = FormatGoal(row.goal);
  try {
    const Contest contest = row.enter();
    Measurement ours(contest.ours);
    Measurement theirs(contest.theirs);
    Compare(ours, theirs);
    const double ourTime = Median(ours.times);
    const double theirTime = Median(theirs.times);
    std::printf("%s | %s | %s | %s | %s | %s |\n", FormatSide(ourTime, row.rowCount).c_str(),
                FormatSide(theirTime, row.rowCount).c_str(),
                FormatRatio(row.goal, ourTime, theirTime).c_str(), goal.c_str(),
                FormatMemory(ours.peak).c_str(), FormatMemory(theirs.peak).c_str());
  } catch (const NotHere& missing) {
    std::printf("| | not measured: %s | %s | | |\n", missing.reason.c_str(), goal.c_str());
  }
  std::fflush(stdout);
}

void Require(bool isRight, const char* what) {
  if (!isRight) {
    std::fprintf(stderr, "timeseries-bench: wrong: %s\n", what);
    std::abort();
  }
}

void RunCommand(const std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  const pid_t child = fork();  // not posix_spawn, whose child begins as large as this process
  if (child == 0) {
    execvp(pointers[0], pointers.data());
    _exit(EXIT_FAILURE);
  }
  int status = 0;
  struct rusage usage {};
  Require(wait4(child, &status, 0, &usage) == child && status == 0, arguments[0].c_str());
  peakOfCommands = std::max(peakOfCommands, usage.ru_maxrss);
}

}  // namespace Bench
