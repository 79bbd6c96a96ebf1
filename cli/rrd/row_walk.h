#pragma once

#include <algorithm>
#include <string>

#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Whether a fetch has these rows: a file that was put in place of another one may have another
// step. Before 1970 librrd returns times up to a step later.
inline bool HasRows(const Rrd::FetchResult& rows, long long step, long long first, long long last) {
  return rows.GetStep() == static_cast<unsigned long long>(step) &&
         first - rows.GetStartTime() > -step &&
         (last - rows.GetStartTime()) / step < static_cast<long long>(rows.GetSampleCount());
}

// Reads the rows of the only archive of a file from `first` to `last`, in pieces, so that memory
// does not grow with the file. `consume` gets the time and the value of each row. The status is
// that of a fetch that failed.
template <typename Consumer>
StatusCode WalkRows(const PatientClient& client, const std::string& path, long long step,
                    long long first, long long last, const Consumer& consume) {
  constexpr long long PIECE_ROW_COUNT = 1 << 16;
  for (long long start = first; start <= last; start += PIECE_ROW_COUNT * step) {
    const long long end = std::min(last, start + (PIECE_ROW_COUNT - 1) * step);
    Rrd::FetchResult rows;
    const StatusCode status = client.Fetch(path, start, end, rows);
    if (status != StatusCode::Success) {
      return status;
    }
    if (!HasRows(rows, step, start, end)) {
      return StatusCode::Failure;
    }
    for (long long time = start; time <= end; time += step) {
      consume(time, rows.GetData()[(time - rows.GetStartTime()) / step]);
    }
  }
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
