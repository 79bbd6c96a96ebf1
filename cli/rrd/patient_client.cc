#include "rrd/patient_client.h"

#include <nvx/workstation/log_redirection.h>

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

#include "base/command_error.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using namespace std::chrono_literals;

// Keeps the lines of the log until it is known whether the operation is to be repeated. Its end
// passes them on.
class HeldLog {
 public:
  HeldLog()
      : level(Log::RootLogger::GetInstance().GetLevel()),
        redirection(std::max(level, KoraLogLevel::Error),
                    [this](KoraLogLevel lineLevel, const std::string& line) {
                      lines.emplace_back(lineLevel, line);
                    }) {}
  HeldLog(const HeldLog&) = delete;
  HeldLog& operator=(const HeldLog&) = delete;

  ~HeldLog() {
    for (const auto& [lineLevel, line] : lines) {
      if (lineLevel <= level) {
        redirection.GetFormer()(lineLevel, line);
      }
    }
  }

  // Whether the RRD library could not lock the file, in its own words.
  bool HasLockError() const {
    return std::any_of(lines.begin(), lines.end(), [](const auto& line) {
      return line.first == KoraLogLevel::Error &&
             line.second.find("[could not lock RRD]") != std::string::npos;
    });
  }

  void Forget() { lines.clear(); }

 private:
  KoraLogLevel level;
  std::vector<std::pair<KoraLogLevel, std::string>> lines;
  Workstation::LogRedirection redirection;
};

}  // namespace

StatusCode PatientClient::GetFirstTimestamp(const std::string& path, int rraIndex,
                                            long long& timestamp) const {
  return Repeat(path, [&] { return RrdClient::GetFirstTimestamp(path, rraIndex, timestamp); });
}

StatusCode PatientClient::GetLastTimestamp(const std::string& path, long long& timestamp) const {
  return Repeat(path, [&] { return RrdClient::GetLastTimestamp(path, timestamp); });
}

StatusCode PatientClient::GetInterval(const std::string& path, unsigned long& interval) const {
  return Repeat(path, [&] { return RrdClient::GetInterval(path, interval); });
}

StatusCode PatientClient::Fetch(const std::string& path, long long start, long long end,
                                Rrd::FetchResult& result) const {
  return Repeat(path, [&] { return RrdClient::Fetch(path, start, end, result); });
}

StatusCode PatientClient::Update(const std::string& path,
                                 const std::map<long long, double>& samples) const {
  return Repeat(path, [&] { return RrdClient::Update(path, samples); });
}

StatusCode PatientClient::Describe(const std::string& path,
                                   Rrd::FileDescription& description) const {
  return Repeat(path, [&] { return RrdClient::Describe(path, description); });
}

StatusCode PatientClient::Repeat(const std::string& path,
                                 const std::function<StatusCode()>& operation) const {
  constexpr auto PAUSE = 2ms;
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (true) {
    HeldLog log;
    const StatusCode status = operation();
    if (status == StatusCode::Success || !log.HasLockError()) {
      return status;
    }
    log.Forget();
    if (std::chrono::steady_clock::now() >= deadline) {
      throw CommandError(path,
                         "another process has kept it locked for " +
                             std::to_string(patience.count()) + " s, the --lock-timeout",
                         status);
    }
    InterruptionGuard::Check();
    std::this_thread::sleep_for(PAUSE);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
