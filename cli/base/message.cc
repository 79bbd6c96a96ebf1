#include "base/message.h"

#include <iostream>

namespace nvx::TimeSeriesDatabase::CommandLine {

void PrintMessage(const std::string& text) {
  std::cerr << "nvx-timeseries: " << WithoutControls(text) << '\n';
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
