#pragma once

#include <algorithm>
#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Reads the rows of the only archive of a file from `first` to `last`, both multiples of its step.
// A file that was put in place of another one may have another step; this is a failure. The rows
// are those of the file itself: librrd has other times before 1970, which depend on the machine.
inline StatusCode ReadRows(const PatientClient& client, const std::string& path, long long step,
                           long long first, long long last, Rrd::FetchResult& rows) {
  const StatusCode status = client.FetchRows(path, 0, 0, first, last, rows);
  const bool isOther = rows.GetStep() != static_cast<unsigned long long>(step);
  return status == StatusCode::Success && isOther ? StatusCode::Failure : status;
}

// The same in pieces, so that memory does not grow with the file. `consume` gets the time and the
// value of each row. The status is that of a read that failed.
template <typename Consumer>
StatusCode WalkRows(const PatientClient& client, const std::string& path, long long step,
                    long long first, long long last, const Consumer& consume) {
  constexpr long long PIECE_ROW_COUNT = 1 << 16;
  for (long long start = first; start <= last; start += PIECE_ROW_COUNT * step) {
    const long long end = std::min(last, start + (PIECE_ROW_COUNT - 1) * step);
    Rrd::FetchResult rows;
    const StatusCode status = ReadRows(client, path, step, start, end, rows);
    if (status != StatusCode::Success) {
      return status;
    }
    for (long long time = start; time <= end; time += step) {
      consume(time, rows.GetData()[(time - rows.GetStartTime()) / step]);
    }
  }
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
