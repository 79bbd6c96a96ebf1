#include "rrd/prediction.h"

#include <string_view>

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

bool IsSeasonal(std::string_view function) {
  return function == "SEASONAL" || function == "DEVSEASONAL";
}

bool IsPrediction(const rra_def_t& archive) {
  if (!IsTerminated(archive.cf_nam)) {
    return false;
  }
  const std::string_view function = archive.cf_nam;
  return IsSeasonal(function) || function == "HWPREDICT" || function == "MHWPREDICT" ||
         function == "DEVPREDICT" || function == "FAILURES";
}

// A smoother needs a window within the season, and a season of one row leaves it none.
bool IsSeasonSafe(const rra_def_t& archive) {
  const double window = archive.par[RRA_seasonal_smoothing_window].u_val;
  return archive.row_cnt > 1 && window >= 0 && window <= 1;
}

bool IsViolationCountSafe(const rra_def_t& archive) {
  const unsigned long length = archive.par[RRA_window_len].u_cnt;
  return length >= 1 && length <= MAX_FAILURES_WINDOW_LEN;
}

}  // namespace

bool IsPredictionSafe(const std::string& header, const HeaderLayout& layout,
                      const rra_def_t& archive, unsigned long archiveCount) {
  if (!IsPrediction(archive)) {
    return true;
  }
  const unsigned long other = archive.par[RRA_dependent_rra_idx].u_cnt;
  return other < archiveCount &&
         IsPrediction(ReadStructure<rra_def_t>(header, layout.archives, other)) &&
         (!IsSeasonal(archive.cf_nam) || IsSeasonSafe(archive)) &&
         (std::string_view(archive.cf_nam) != "FAILURES" || IsViolationCountSafe(archive));
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
