#include "rrd/prediction.h"

#include <string_view>

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

bool IsSeasonal(std::string_view function) {
  return function == "SEASONAL" || function == "DEVSEASONAL";
}

// A smoothing window is a part of the season, 0 to 1; a season of one row has no room for one.
bool IsSeasonSafe(const rra_def_t& archive) {
  const double window = archive.par[RRA_seasonal_smoothing_window].u_val;
  return archive.row_cnt > 1 && window >= 0 && window <= 1;
}

bool IsViolationCountSafe(const rra_def_t& archive) {
  const unsigned long length = archive.par[RRA_window_len].u_cnt;
  return length >= 1 && length <= MAX_FAILURES_WINDOW_LEN;
}

}  // namespace

bool IsPrediction(std::string_view function) {
  return IsSeasonal(function) || function == "HWPREDICT" || function == "MHWPREDICT" ||
         function == "DEVPREDICT" || function == "FAILURES";
}

bool IsPredictionSafe(const std::string& header, const HeaderLayout& layout,
                      const rra_def_t& archive, unsigned long archiveCount) {
  if (!IsPrediction(archive.cf_nam)) {
    return true;
  }
  const unsigned long index = archive.par[RRA_dependent_rra_idx].u_cnt;
  if (index >= archiveCount) {
    return false;
  }
  const auto other = ReadStructure<rra_def_t>(header, layout.archives, index);
  return IsTerminated(other.cf_nam) && IsPrediction(other.cf_nam) &&
         (!IsSeasonal(archive.cf_nam) || IsSeasonSafe(archive)) &&
         (std::string_view(archive.cf_nam) != "FAILURES" || IsViolationCountSafe(archive));
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
