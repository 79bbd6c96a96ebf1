#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A bar on standard error that is gone when the work is; nothing where that is no terminal.
class ProgressBar {
 public:
  ProgressBar() = default;
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  // Shows the done part, from 0 to 1, and a note behind it.
  void Show(double part, const std::string& note = "");

 private:
  bool isShown = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
