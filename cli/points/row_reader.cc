#include "points/row_reader.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/command_error.h"
#include "base/round_up.h"
#include "base/time_text.h"
#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The last row from which on the RRD library reads the archive, and no finer one that reaches back
// to it.
long long FindOwnRow(const Source& source, const ChosenArchive& chosen, long long row) {
  for (const Rrd::ArchiveDescription& other : source.file.archives) {
    if (other.stepsPerRow < chosen.archive->stepsPerRow) {
      const auto length = static_cast<long long>(GetRowLength(source.file, other));
      row = std::min(row, other.firstTime - length);
    }
  }
  return std::max(row - row % chosen.rowLength, chosen.archive->firstTime);
}

}  // namespace

const double* RowReader::Read(const ChosenArchive& chosen, long long first, long long last,
                              long long end) {
  const long long length = chosen.rowLength;
  const long long from = std::max(first, RoundUp(EARLIEST_SAMPLE, length));
  const bool hasRows =
      from <= last && from <= chosen.archive->lastTime && last >= chosen.archive->firstTime;
  if (hasRows && !Has(chosen, from, last)) {
    const long long ahead = from + (ROW_COUNT - 1) * length;
    Fetch(chosen, from, std::max(last, std::min({ahead, end, chosen.archive->lastTime})));
  }
  if (hasRows && from == first) {
    return GetRow(first);
  }
  padded.assign(static_cast<std::size_t>((last - first) / length + 1),
                std::numeric_limits<double>::quiet_NaN());
  if (hasRows) {
    std::copy_n(GetRow(from), (last - from) / length + 1, padded.data() + (from - first) / length);
  }
  return padded.data();
}

void RowReader::ReadAll(const std::vector<ChosenArchive>& chosen, long long first, long long last,
                        const RowConsumer& work) {
  constexpr long long STRIDE = 4096;  // rows
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    const long long length = chosen[i].rowLength;
    const long long next = i + 1 < chosen.size() ? chosen[i + 1].begin : last + 1;
    const long long end = std::min({next - 1, last, chosen[i].archive->lastTime});
    const long long begin =
        std::max({first, chosen[i].begin, chosen[i].archive->firstTime, EARLIEST_SAMPLE});
    for (long long row = RoundUp(begin, length); row <= end; row += STRIDE * length) {
      const long long count = std::min(STRIDE, (end - row) / length + 1);
      const double* const values = Read(chosen[i], row, row + (count - 1) * length, last);
      if (!work(row, values, count, length)) {
        return;
      }
    }
  }
}

std::optional<long long> RowReader::FindFirstSample(long long first, long long last) {
  std::optional<long long> sample;
  ReadAll(ChooseArchives(source, first, last), first, last,
          [&](long long time, const double* values, long long count, long long length) {
            const double* const found = std::find_if(
                values, values + count, [](double value) { return !std::isnan(value); });
            if (found != values + count) {
              sample = time + (found - values) * length;
            }
            return !sample;
          });
  return sample;
}

bool RowReader::Has(const ChosenArchive& chosen, long long first, long long last) const {
  return fetchedArchive == chosen.archive &&
         fetched.GetStep() == static_cast<unsigned long long>(chosen.rowLength) &&
         fetched.GetStartTime() <= first && last <= fetched.GetEndTime();
}

void RowReader::Fetch(const ChosenArchive& chosen, long long first, long long last) {
  fetchedArchive = chosen.archive;
  if (source.isByArchive) {
    const auto archive = static_cast<unsigned long>(chosen.archive - source.file.archives.data());
    const StatusCode status = source.context.rrdClient.FetchRows(
        source.path, archive, source.column, first, last, fetched);
    Require(status, source.name, std::string("its rows cannot be read: ") + Failure::GetReason());
    return RequireStill(archive, std::max(first, chosen.archive->firstTime));
  }
  const Rrd::ArchiveDescription* const read = source.file.FindArchive(first);
  if (read->stepsPerRow != chosen.archive->stepsPerRow) {
    first = FindOwnRow(source, chosen, first);
  }
  const std::string span = FormatUtc(first) + " to " + FormatUtc(last);
  Require(source.context.rrdClient.Fetch(source.path, first, last, fetched), source.name,
          "no samples from " + span);
  if (!Has(chosen, first, last)) {
    throw CommandError(source.name, "its rows have moved on while they were read, from " + span,
                       StatusCode::Failure);
  }
}

// Rows that have left an archive are read as missing ones.
void RowReader::RequireStill(unsigned long archive, long long first) const {
  Rrd::FileDescription now;
  const StatusCode status = source.context.rrdClient.Describe(source.path, now);
  Require(status, source.name, std::string("its file cannot be read: ") + Failure::GetReason());
  if (archive >= now.archives.size() || now.archives[archive].firstTime > first) {
    throw CommandError(source.name,
                       "its rows have moved on while they were read, from " + FormatUtc(first),
                       StatusCode::Failure);
  }
}

const double* RowReader::GetRow(long long time) const {
  return fetched.GetData() +
         (time - fetched.GetStartTime()) / static_cast<long long>(fetched.GetStep());
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
