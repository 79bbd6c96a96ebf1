#include "rrd/patient_client.h"

#include <thread>

#include "base/command_error.h"
#include "replace/interruption.h"
#include "rrd/read_guard.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

StatusCode RunGuarded(const std::string& path, const std::function<StatusCode()>& operation) {
  const ReadGuard guard(path);
  return operation();
}

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

StatusCode PatientClient::FetchRows(const std::string& path, unsigned long archive,
                                    unsigned long source, long long start, long long end,
                                    Rrd::FetchResult& result) const {
  return Repeat(path,
                [&] { return RrdClient::FetchRows(path, archive, source, start, end, result); });
}

StatusCode PatientClient::Create(const std::string& path, long long step, long long startTime,
                                 double minimum, double maximum, unsigned int rowCount) const {
  return Repeat(
      path, [&] { return RrdClient::Create(path, step, startTime, minimum, maximum, rowCount); });
}

StatusCode PatientClient::Update(const std::string& path,
                                 const std::map<long long, double>& samples) const {
  return Repeat(path, [&] { return RrdClient::Update(path, samples); });
}

StatusCode PatientClient::Migrate(const std::string& path, long long step, long long startTime,
                                  double minimum, double maximum, unsigned int rowCount) const {
  return Repeat(
      path, [&] { return RrdClient::Migrate(path, step, startTime, minimum, maximum, rowCount); });
}

StatusCode PatientClient::UpdateAtomically(const std::string& path,
                                           const std::map<long long, double>& samples,
                                           Rrd::Durability durability) const {
  return Repeat(path, [&] { return RrdClient::UpdateAtomically(path, samples, durability); });
}

StatusCode PatientClient::Describe(const std::string& path,
                                   Rrd::FileDescription& description) const {
  return Repeat(path, [&] { return RrdClient::Describe(path, description); });
}

StatusCode PatientClient::Repeat(const std::string& path,
                                 const std::function<StatusCode()>& operation) const {
  constexpr std::chrono::milliseconds PAUSE(2);
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (true) {
    const StatusCode status = RunGuarded(path, operation);
    if (status != StatusCode::Failure || !Failure::IsLocked()) {
      return status;
    }
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
