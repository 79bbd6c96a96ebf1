#include "nvx/root_logger.h"

#include <cstdarg>

namespace nvx::Log {

void RootLogger::Print(nv::kora::KoraLogLevel, const char* format, ...) const {
  std::FILE* const file = output;
  std::va_list values;
  va_start(values, format);
  flockfile(file);
  std::vfprintf(file, format, values);
  std::fputc('\n', file);
  funlockfile(file);
  va_end(values);
}

}  // namespace nvx::Log
