#pragma once

#include <pthread.h>

#include <string>
#include <vector>

#include "timeseries/host.h"

using Lines = std::vector<std::string>;

// Collects the lines of the log while it lives: the digit of the level and the line without the
// calling thread's number, "3[Component] Operation: text".
class LogCapture {
 public:
  explicit LogCapture(int level = 7) {
    auto& logger = nvx::Log::RootLogger::GetInstance();
    logger.SetLevel(static_cast<nv::kora::KoraLogLevel>(level));
    logger.SetDestination([this](nv::kora::KoraLogLevel lineLevel, const std::string& line) {
      const std::string thread = "[" + std::to_string(pthread_self()) + "]";
      const bool isOwn = line.compare(0, thread.size(), thread) == 0;
      lines.push_back(std::to_string(static_cast<int>(lineLevel)) +
                      (isOwn ? line.substr(thread.size()) : " wrong thread: " + line));
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
  Lines Take() {
    Lines taken;
    taken.swap(lines);
    return taken;
  }

 private:
  Lines lines;
};
