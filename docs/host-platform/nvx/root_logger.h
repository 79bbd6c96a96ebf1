#pragma once

#include <atomic>
#include <cstdio>

#include "log_level.h"

namespace nvx::Log {
class RootLogger {
 public:
  static RootLogger& GetInstance() {
    static RootLogger instance;
    return instance;
  }
  nv::kora::KoraLogLevel GetLevel() const { return level; }
  void SetLevel(nv::kora::KoraLogLevel newLevel) { level = newLevel; }
  void SetOutput(std::FILE* newOutput) { output = newOutput; }
  void Print(nv::kora::KoraLogLevel lineLevel, const char* format, ...) const;

 private:
  std::atomic<nv::kora::KoraLogLevel> level{nv::kora::KoraLogLevel::Error};
  std::atomic<std::FILE*> output{stderr};
};
}  // namespace nvx::Log
