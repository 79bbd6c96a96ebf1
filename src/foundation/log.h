#pragma once

#include <pthread.h>

#include <cstddef>
#include <string>

#include "foundation/failure.h"
#include "timeseries/host.h"

// One line of the log, for the COMPONENT_NAME of the source file and the operation that writes it:
// in Fetch,
//
//   NVX_ERROR("step out of range [%lu]", step);
//
// writes "[thread][component] Fetch: step out of range [0]". The message is a literal, checked
// against its values by the compiler. The values are evaluated only when the line is written, so
// they may be costly but must have no effect that is needed at every level.
#define NVX_ERROR(...) NVX_ERROR_IN(__func__, __VA_ARGS__)
#define NVX_INFO(...) NVX_INFO_IN(__func__, __VA_ARGS__)
#define NVX_TRACE(...) NVX_TRACE_IN(__func__, __VA_ARGS__)

// The same under the name of another operation.
#define NVX_ERROR_IN(operation, ...) NVX_LOG(Error, "[%lu][%s] %s: ", operation, __VA_ARGS__)
#define NVX_INFO_IN(operation, ...) NVX_LOG(Information, "[%lu][%s] %s: ", operation, __VA_ARGS__)
#define NVX_TRACE_IN(operation, ...) NVX_LOG(Trace, "[%lu][%s][trace] %s: ", operation, __VA_ARGS__)

// For an error that an operation detects itself, not one that it passes on: whatever the level, the
// message is also kept as the reason of the failure, and its values are evaluated once more for it.
#define NVX_FAILURE(...) NVX_FAILURE_IN(__func__, __VA_ARGS__)
#define NVX_FAILURE_IN(operation, ...)                 \
  do {                                                 \
    nvx::TimeSeriesDatabase::KeepFailure(__VA_ARGS__); \
    NVX_ERROR_IN(operation, __VA_ARGS__);              \
  } while (false)

// The same for lines that name no operation.
#define NVX_ERROR_WITHOUT_OPERATION(...) NVX_LOG(Error, "[%lu][%s] ", nullptr, __VA_ARGS__)
#define NVX_FAILURE_WITHOUT_OPERATION(...)             \
  do {                                                 \
    nvx::TimeSeriesDatabase::KeepFailure(__VA_ARGS__); \
    NVX_ERROR_WITHOUT_OPERATION(__VA_ARGS__);          \
  } while (false)

#define NVX_LOG(level, prefix, operation, ...)                                           \
  do {                                                                                   \
    using nvx::TimeSeriesDatabase::KoraLogLevel;                                         \
    static_cast<void>(sizeof(nvx::TimeSeriesDatabase::CheckMessage(__VA_ARGS__)));       \
    if (nvx::Log::RootLogger::GetInstance().GetLevel() >= KoraLogLevel::level) {         \
      nvx::TimeSeriesDatabase::WriteLine(KoraLogLevel::level, COMPONENT_NAME, operation, \
                                         prefix __VA_ARGS__);                            \
    }                                                                                    \
  } while (false)

namespace nvx::TimeSeriesDatabase {

// Never called: carries the compiler's check.
int CheckMessage(const char* message, ...) __attribute__((format(printf, 1, 2)));

template <typename... Values>
void WriteLine(KoraLogLevel level, const std::string& component, std::nullptr_t, const char* format,
               Values... values) {
  Log::RootLogger::GetInstance().Print(level, format, static_cast<unsigned long>(pthread_self()),
                                       component.c_str(), values...);
}

template <typename... Values>
void WriteLine(KoraLogLevel level, const std::string& component, const char* operation,
               const char* format, Values... values) {
  WriteLine(level, component, nullptr, format, operation, values...);
}

}  // namespace nvx::TimeSeriesDatabase
