#include "base/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace nvx::TimeSeriesDatabase::CommandLine {

ProgressBar::~ProgressBar() {
  if (isShown) {
    std::cerr << "\r\x1b[K" << std::flush;  // clears the line
  }
}

void ProgressBar::Show(double part, const std::string& note) {
  if (isatty(STDERR_FILENO) == 0) {
    return;
  }
  constexpr double WIDTH = 40;
  const auto done = static_cast<std::size_t>(WIDTH * std::clamp(part, 0.0, 1.0));
  std::string bar(static_cast<std::size_t>(WIDTH), ' ');
  std::fill_n(bar.begin(), done, '#');
  std::cerr << "\r[" << bar << "] " << 100 * done / bar.size() << " % " << note << std::flush;
  isShown = true;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
