#pragma once

#include "log_level.h"

namespace nvx::Log {
class RootLogger {
 public:
  static RootLogger& GetInstance() {
    static RootLogger instance;
    return instance;
  }
  nv::kora::KoraLogLevel GetLevel() const { return nv::kora::KoraLogLevel::Error; }
  template <typename... Values>
  void Print(nv::kora::KoraLogLevel, const char*, Values...) const {}
};
}  // namespace nvx::Log
