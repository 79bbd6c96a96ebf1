#include "rrd/sample_writer.h"

#include <ctime>

#include "base/command_error.h"
#include "base/time_text.h"
#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t BATCH_SIZE = 10'000;
constexpr long long SECONDS_A_DAY = 86'400;

}  // namespace

SampleWriter::SampleWriter(const PatientClient& client, const std::string& filePath,
                           const std::string& fileName, const SamplePolicy& samplePolicy)
    : rrdClient(client),
      path(filePath),
      name(fileName),
      policy(samplePolicy),
      stored(client, filePath, DescribeSingleSource(client, filePath, fileName)) {
  formerLast = stored.GetLastTime();
}

bool SampleWriter::Add(const std::pair<long long, double>& sample) {
  if (policy.mayBePast && sample.first <= formerLast) {
    if (pastCount == 0) {
      RequireNotEmpty(sample.first);
    }
    ++pastCount;
    return true;
  }
  return batch.insert(sample).second;
}

bool SampleWriter::IsBatchFull() const { return batch.size() == BATCH_SIZE; }

void SampleWriter::StoreBatch() {
  if (batch.empty()) {
    return;
  }
  long long last = 0;
  if (rrdClient.GetLastTimestamp(path, last) != StatusCode::Success) {
    throw CommandError(name, path + " cannot be read: " + Failure::GetReason(),
                       StatusCode::Failure);
  }
  const long long earliest = batch.begin()->first;
  if (earliest <= last) {
    RequireNotEmpty(earliest);
    throw CommandError(
        name, "the sample of " + FormatUtc(earliest) + " is not later than " + FormatUtc(last) +
                  ", the last update; " +
                  (earliest > formerLast
                       ? "later samples of the same import are stored already: sort them by time"
                       : "--skip-past leaves out what the file has already"));
  }
  const long long latest = batch.rbegin()->first;
  if (!policy.mayBeFuture && latest > std::time(nullptr) + SECONDS_A_DAY) {
    throw CommandError(name, "the sample of " + FormatUtc(latest) +
                                 " is more than a day in the future; --force stores it");
  }
  stored.MakeRoomUntil(latest);
  if (rrdClient.UpdateAtomically(path, batch, policy.durability) != StatusCode::Success) {
    throw CommandError(name, path + " cannot be updated: " + Failure::GetReason(),
                       StatusCode::Failure);
  }
  stored.Add(batch);
  batch.clear();
}

// An empty file cannot have a past sample already.
void SampleWriter::RequireNotEmpty(long long time) const {
  if (stored.GetLastTime() == formerLast && stored.WasEmpty()) {
    throw CommandError(
        name, "the sample of " + FormatUtc(time) + " is not later than " + FormatUtc(formerLast) +
                  ", where the file begins; as it has no sample yet, make it again, with "
                  "create --force and an earlier --start or --csv");
  }
}

std::string SampleWriter::Describe() const {
  return name + ": " + stored.Describe() +
         (pastCount == 0 ? ""
                         : "; " + std::to_string(pastCount) + " left out, not later than " +
                               FormatUtc(formerLast) + ", the last update before");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
