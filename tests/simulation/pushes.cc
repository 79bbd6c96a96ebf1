// How a device's samples reach a server.

#include <algorithm>
#include <cmath>

#include "simulation/device.h"
#include "simulation/disk.h"
#include "support/resource_limit.h"

int RunPush(int argc, char** argv);  // the main function of the program that pushes

namespace nvx::TimeSeriesDatabase::Simulation {

// The server may fail at some request; the state may be damaged before, or be impossible to save.
void Device::Push(Source& /*source*/) {
  using Answer = Server::Answer;
  const Answer answer = random.Pick(std::vector{Answer::Confirmed, Answer::Confirmed,
                                                Answer::Unavailable, Answer::None, Answer::Kill});
  const long long fate = random.Between(0, 9);
  if (fate == 0) {
    OverwriteBytes(state, "no state");
    for (Source& source : sources) {
      source.sent = source.reached = 0;
    }
  }
  const rlim_t largest = fate == 1 ? 4096 : RLIM_INFINITY;
  const auto work = [&] {
    const ResourceLimit limit(RLIMIT_FSIZE, largest);
    return Run({"push", server.GetUrl(), "--state", state, "--retry-for", "0"}, RunPush);
  };
  const Server::Run run = server.Serve(work, static_cast<int>(random.Between(0, 2)), answer);
  const bool isDone = !run.isCutOff;
  const bool isSound = run.status == 0 || run.status == 3 || (fate == 1 && run.status == 1);
  Expect(isDone ? isSound : run.status == (answer == Answer::Kill ? 137 : 1),
         "push ended with " + std::to_string(run.status) + ": " + ReadBytes(messages).value_or(""));
  ++figures[isDone ? "pushes that were done" : "pushes that were cut off"];
  CheckPush(run, isDone, answer != Answer::Kill && fate != 1);
}

// Lines are "topo,id=S1 value=2.5 1700000000".
void Device::CheckPush(const Server::Run& run, bool isDone, bool isRemembered) {
  std::map<std::string, Samples> arrived;
  for (const std::string& line : run.confirmed) {
    const std::size_t blank = line.find(' ');
    const std::size_t end = line.rfind(' ');
    Samples& points = arrived["topo:" + line.substr(8, blank - 8)];
    Expect(
        points.try_emplace(std::stoll(line.substr(end)), std::stod(line.substr(blank + 7))).second,
        line + " came twice");
  }
  figures["points pushed"] += static_cast<long long>(run.confirmed.size());
  for (Source& source : sources) {
    const Samples& points = arrived[source.id];
    const Samples& rows = source.model.rows;
    for (const auto& [time, value] : points) {
      const auto row = rows.find(time);
      Expect(row != rows.end() && row->second == value && time > source.sent,
             source.id + ": wrong or sent again: the point of " + std::to_string(time));
    }
    for (auto row = rows.upper_bound(source.reached); isDone && row != rows.end(); ++row) {
      Expect(std::isnan(row->second) || points.count(row->first) == 1,
             source.id + ": not sent: the point of " + std::to_string(row->first));
    }
    const bool hasNothing = std::all_of(rows.upper_bound(source.reached), rows.end(),
                                        [](const auto& row) { return std::isnan(row.second); });
    if (isDone || !points.empty() || hasNothing) {
      source.reached = std::max(source.reached, source.model.GetNewest());
    }
    if (isRemembered && !points.empty()) {
      source.sent = std::max(source.sent, points.rbegin()->first);
    }
  }
}

}  // namespace nvx::TimeSeriesDatabase::Simulation
