#pragma once

#include <utility>

#include "nvx/log_level.h"
#include "nvx/root_logger.h"

namespace nvx::Workstation {

// Sends the log to another destination at another level while it lives. At its end both are again
// what they were, so redirections may be nested. It begins and ends while no other thread logs.
class LogRedirection {
 public:
  using Destination = Log::RootLogger::Destination;

  LogRedirection(nv::kora::KoraLogLevel level, Destination destination)
      : formerLevel(Log::RootLogger::GetInstance().GetLevel()),
        former(Log::RootLogger::GetInstance().SetDestination(std::move(destination))) {
    Log::RootLogger::GetInstance().SetLevel(level);
  }
  LogRedirection(const LogRedirection&) = delete;
  LogRedirection& operator=(const LogRedirection&) = delete;

  ~LogRedirection() {
    Log::RootLogger::GetInstance().SetDestination(std::move(former));
    Log::RootLogger::GetInstance().SetLevel(formerLevel);
  }

  // Where the log went before. The destination may pass lines on to it.
  const Destination& GetFormer() const { return former; }

 private:
  nv::kora::KoraLogLevel formerLevel;
  Destination former;
};

}  // namespace nvx::Workstation
