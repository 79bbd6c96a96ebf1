#pragma once

#include <nvx/root_logger.h>
#include <pthread.h>

#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

// Collects the lines of the log while it lives: the digit of the level and the line without the
// calling thread's number, "3[Component] Operation: text".
class LogCapture {
 public:
  explicit LogCapture(int level = 7)
      : formerLevel(logger.GetLevel()),
        former(logger.SetDestination([this](nv::kora::KoraLogLevel lineLevel,
                                            const std::string& line) { Add(lineLevel, line); })) {
    logger.SetLevel(static_cast<nv::kora::KoraLogLevel>(level));
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  ~LogCapture() {
    logger.SetDestination(std::move(former));
    logger.SetLevel(formerLevel);
  }

  // Returns the lines so far and forgets them.
  Lines Take() {
    Lines taken;
    taken.swap(lines);
    return taken;
  }

 private:
  void Add(nv::kora::KoraLogLevel lineLevel, const std::string& line) {
    const std::string thread = "[" + std::to_string(pthread_self()) + "]";
    const bool isOwn = line.compare(0, thread.size(), thread) == 0;
    lines.push_back(std::to_string(static_cast<int>(lineLevel)) +
                    (isOwn ? line.substr(thread.size()) : " wrong thread: " + line));
  }

  Lines lines;
  nvx::Log::RootLogger& logger = nvx::Log::RootLogger::GetInstance();
  nv::kora::KoraLogLevel formerLevel;
  nvx::Log::RootLogger::Destination former;
};
