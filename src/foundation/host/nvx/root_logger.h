#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "nvx/log_level.h"

namespace nvx::Log {

// The one logger of the process. Every member may be called from any thread. It must be visible:
// a module that hid it would have an instance of its own.
class __attribute__((visibility("default"))) RootLogger {
 public:
  // Receives one finished line, without a line break. Called by one thread at a time; it must not
  // log itself.
  using Destination = std::function<void(nv::kora::KoraLogLevel level, const std::string& line)>;

  static RootLogger& GetInstance() {
    static RootLogger instance;
    return instance;
  }

  RootLogger(const RootLogger&) = delete;
  RootLogger& operator=(const RootLogger&) = delete;

  // The level in force, Error at the start.
  nv::kora::KoraLogLevel GetLevel() const { return level.load(std::memory_order_relaxed); }
  void SetLevel(nv::kora::KoraLogLevel newLevel) { level.store(newLevel); }

  // Sends lines to `newDestination`; an empty one restores standard error, where a line gets a time
  // stamp and the name of its level. Returns the former destination, which is never empty.
  Destination SetDestination(Destination newDestination);

  // Formats as printf does and writes the line, whatever the level in force.
  void Print(nv::kora::KoraLogLevel lineLevel, const char* format, ...) const
      __attribute__((format(printf, 3, 4)));

 private:
  RootLogger();
  ~RootLogger();

  std::atomic<nv::kora::KoraLogLevel> level;
  mutable std::mutex mutex;
  Destination destination;
};

}  // namespace nvx::Log
