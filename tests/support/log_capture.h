#pragma once

#include <string>
#include <vector>

#include "timeseries/host.h"

// Collects the lines of the log while it lives, without their thread number: "[Component]
// Operation: text" behind the digit of the level, "3".
class LogCapture {
 public:
  explicit LogCapture(int level = 7) {
    auto& logger = nvx::Log::RootLogger::GetInstance();
    logger.SetLevel(static_cast<nv::kora::KoraLogLevel>(level));
    logger.SetDestination([this](nv::kora::KoraLogLevel lineLevel, const std::string& line) {
      lines.push_back(std::to_string(static_cast<int>(lineLevel)) +
                      line.substr(line.find(']') + 1));
    });
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  ~LogCapture() {
    auto& logger = nvx::Log::RootLogger::GetInstance();
    logger.SetDestination(nullptr);
    logger.SetLevel(nv::kora::KoraLogLevel::Error);
  }

  // The lines so far, which are forgotten.
  std::vector<std::string> Take() {
    std::vector<std::string> taken;
    taken.swap(lines);
    return taken;
  }

 private:
  std::vector<std::string> lines;
};
