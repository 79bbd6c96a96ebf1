#pragma once

#include <pthread.h>

#include "timeseries/host.h"

// Writes one line of the log at `level` for the COMPONENT_NAME of the source file. `format` begins
// with "[%lu][%s]", the thread and the component, which are supplied here. The arguments are
// evaluated only when the line is written, so they may be costly but must have no effect that is
// needed at every level.
#define NVX_LOG(level, format, ...)                                                         \
  do {                                                                                      \
    if (nvx::Log::RootLogger::GetInstance().GetLevel() >= (level)) {                        \
      nvx::Log::RootLogger::GetInstance().Print(level, format,                              \
                                                static_cast<unsigned long>(pthread_self()), \
                                                COMPONENT_NAME.c_str(), __VA_ARGS__);       \
    }                                                                                       \
  } while (false)
