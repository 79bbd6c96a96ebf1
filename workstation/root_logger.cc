#include "nvx/root_logger.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <utility>

#include "nvx/workstation/printable_text.h"

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

}  // namespace

RootLogger::RootLogger() : level(KoraLogLevel::Error), destination(WriteToStandardError) {}

RootLogger::~RootLogger() = default;

RootLogger::Destination RootLogger::SetDestination(Destination newDestination) {
  if (!newDestination) {
    newDestination = WriteToStandardError;
  }
  const std::lock_guard<std::mutex> lock(mutex);
  return std::exchange(destination, std::move(newDestination));
}

void RootLogger::Print(KoraLogLevel lineLevel, const char* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  char* formatted = nullptr;
  const int length = vasprintf(&formatted, format, arguments);
  va_end(arguments);
  if (length < 0) {
    return;
  }
  const std::unique_ptr<char, decltype(&std::free)> text(formatted, std::free);
  // Text from a file or an id must not look like a log line of its own.
  const std::string line =
      Workstation::WithoutControls({text.get(), static_cast<std::size_t>(length)});

  const std::lock_guard<std::mutex> lock(mutex);
  destination(lineLevel, line);
}

}  // namespace nvx::Log
