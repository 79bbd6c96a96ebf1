#include "rrd/patient_client.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

#include "base/command_error.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::atomic<const std::string*> pending{nullptr};  // the message; none while nothing is read

// GCOVR_EXCL_START: a process that ends in a handler writes no counts
// Calls nothing but what a handler may call.
void End(int signal) {
  const std::string* const message = pending;
  if (message != nullptr && write(STDERR_FILENO, message->data(), message->size()) != -1) {
    _exit(EXIT_FAILED);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}
// GCOVR_EXCL_STOP

bool Install() {
  std::signal(SIGBUS, End);
  std::signal(SIGFPE, End);
  return true;
}

// Guards the RRD library's reading of the file at `path`. The RRD library maps the file and trusts
// what it has read. When another process makes the file shorter (SIGBUS), or overwrites a number
// that is a divisor (SIGFPE), the program ends with EXIT_FAILED and one line that names the file.
// One guard at a time.
class ReadGuard {
 public:
  explicit ReadGuard(const std::string& path)
      : message("nvx-timeseries: " +
                WithoutControls(
                    CommandError(path, "it was changed while it was read", StatusCode::Failure)
                        .GetText()) +
                "\n") {
    [[maybe_unused]] static const bool isInstalled = Install();
    pending = &message;
  }
  ReadGuard(const ReadGuard&) = delete;
  ReadGuard& operator=(const ReadGuard&) = delete;
  ~ReadGuard() { pending = nullptr; }

 private:
  const std::string message;
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
  StatusCode status = StatusCode::Failure;
  const auto isDone = [&] {
    const ReadGuard guard(path);
    status = operation();
    return status != StatusCode::Failure || !Failure::IsLocked();
  };
  if (!Retry(patience, std::chrono::milliseconds(2), isDone)) {
    throw CommandError(path,
                       "another process has kept it locked for " +
                           std::to_string(patience.count()) + " s, the --lock-timeout",
                       status);
  }
  return status;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
