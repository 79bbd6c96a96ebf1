#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "points/archives.h"
#include "timeseries/rrd/fetch_result.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Reads rows of a file ahead, a bounded number of them, so that a search and the answer that starts
// at its result share one fetch. Every operation throws CommandError.
class RowReader {
 public:
  // The rows of one fetch, unless a single interval has more.
  static constexpr long long ROW_COUNT = 1LL << 20;

  explicit RowReader(const Source& fileSource) : source(fileSource) {}

  // The rows of an archive between two times, both included; missing where the archive has none. No
  // row after `end` will be asked for. They stay valid until the next call.
  const double* Read(const ChosenArchive& chosen, long long first, long long last, long long end);

  // Calls `work` with the time of a row, the rows from there on and how many they are, until it is
  // false: all rows of the archives, one behind the other, up to `last`.
  using RowConsumer =
      std::function<bool(long long time, const double* values, long long count, long long length)>;
  void ReadAll(const std::vector<ChosenArchive>& chosen, long long first, long long last,
               const RowConsumer& work);

  // The time of the first sample, of any archive, that is not missing.
  std::optional<long long> FindFirstSample(long long first, long long last);

 private:
  bool Has(const ChosenArchive& chosen, long long first, long long last) const;
  void Fetch(const ChosenArchive& chosen, long long first, long long last);
  void RequireStill(unsigned long archive, long long first) const;
  const double* GetRow(long long time) const;

  const Source& source;
  Rrd::FetchResult fetched;
  const Rrd::ArchiveDescription* fetchedArchive = nullptr;
  std::vector<double> padded;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
