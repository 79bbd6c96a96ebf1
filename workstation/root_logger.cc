#include "nvx/root_logger.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

namespace nvx::Log {
namespace {

using nv::kora::KoraLogLevel;

const char* LevelName(KoraLogLevel level) {
  switch (level) {
    case KoraLogLevel::Error:
      return "error";
    case KoraLogLevel::Information:
      return "info";
    case KoraLogLevel::Trace:
      return "trace";
    default:
      return "log";
  }
}

void WriteToStandardError(KoraLogLevel level, const std::string& line) {
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  std::tm utc{};
  gmtime_r(&now.tv_sec, &utc);
  char stamp[sizeof "2021-03-28T01:00:00"];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &utc);
  std::fprintf(stderr, "%s.%03ldZ %s %s\n", stamp, now.tv_nsec / 1000000, LevelName(level),
               line.c_str());
}

std::string Format(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) {
    return format;
  }
  std::vector<char> text(static_cast<std::size_t>(length) + 1);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  return std::string(text.data(), text.size() - 1);
}

}  // namespace

RootLogger::RootLogger() : level(KoraLogLevel::Error), destination(WriteToStandardError) {}

RootLogger::~RootLogger() = default;

void RootLogger::SetDestination(Destination newDestination) {
  const std::lock_guard<std::mutex> lock(mutex);
  destination = newDestination ? std::move(newDestination) : Destination(WriteToStandardError);
}

void RootLogger::Print(KoraLogLevel lineLevel, const char* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string line = Format(format, arguments);
  va_end(arguments);

  const std::lock_guard<std::mutex> lock(mutex);
  destination(lineLevel, line);
}

}  // namespace nvx::Log
