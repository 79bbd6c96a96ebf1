#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A bar on standard error that disappears when the work is done; nothing where that is no terminal.
class ProgressBar {
 public:
  ProgressBar() = default;
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  // Shows how much is done, from 0 to 1, and a note after the bar.
  void Show(double part, const std::string& note = "");

 private:
  bool isShown = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
