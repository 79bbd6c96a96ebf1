#include "files/sample_writer.h"

#include <ctime>

#include "error/command_error.h"
#include "input/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t BATCH_SIZE = 10'000;
constexpr long long SECONDS_A_DAY = 86'400;

}  // namespace

SampleWriter::SampleWriter(const RrdClient& client, const std::string& filePath,
                           const std::string& fileName, bool mayBeFuture)
    : rrdClient(client), path(filePath), name(fileName), isFutureAllowed(mayBeFuture) {}

bool SampleWriter::Add(const std::pair<long long, double>& sample) {
  return batch.insert(sample).second;
}

bool SampleWriter::IsBatchFull() const { return batch.size() == BATCH_SIZE; }

void SampleWriter::StoreBatch() {
  if (batch.empty()) {
    return;
  }
  long long last = 0;
  Require(rrdClient.GetLastTimestamp(path, last), name, path + " cannot be read");
  // The RRD library itself would store what stands before the sample that it refuses.
  const long long earliest = batch.begin()->first;
  if (earliest <= last) {
    throw CommandError(name,
                       "the sample of " + FormatUtc(earliest) + " is not later than " +
                           FormatUtc(last) + ", the last update",
                       StatusCode::InvalidArgument);
  }
  const long long latest = batch.rbegin()->first;
  if (!isFutureAllowed && latest > std::time(nullptr) + SECONDS_A_DAY) {
    throw CommandError(name,
                       "the sample of " + FormatUtc(latest) +
                           " is more than a day in the future; --force stores it",
                       StatusCode::InvalidArgument);
  }
  Require(rrdClient.Update(path, batch), name, path + " cannot be updated");
  storedCount += batch.size();
  batch.clear();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
