#include "timeseries/time_window.h"

#include "foundation/log.h"

namespace nvx::TimeSeriesDatabase {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::TimeWindow";

}  // namespace

StatusCode TimeWindow::IsValid() const {
  if (start.timestamp >= end.timestamp) {
    NVX_FAILURE_WITHOUT_OPERATION("Time window is invalid [%s]", TimeWindowToString(*this).c_str());
    return StatusCode::InvalidArgument;
  }
  const std::string startZone = start.timeZone.name();
  const std::string endZone = end.timeZone.name();
  if (startZone != endZone) {
    NVX_FAILURE_WITHOUT_OPERATION(
        "Timezones are different -> Start date time-zone [%s] != End date time-zone [%s]",
        startZone.c_str(), endZone.c_str());
    return StatusCode::InvalidArgument;
  }
  return StatusCode::Success;
}

std::string TimeWindowToString(const TimeWindow& window) {
  return window.start.ToText() + " - " + window.end.ToText();
}

}  // namespace nvx::TimeSeriesDatabase
