#include "files/conversion/logged_sanitizer.h"

#include <algorithm>
#include <iostream>
#include <string_view>

#include "files/conversion/conversion_error.h"
#include "files/conversion/early_writeback.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::string_view NO_ERROR = ": Success";

// The text behind "[thread][component] Operation: ", without the error of a read or a write that
// was merely too short.
std::string GetText(const std::string& line) {
  const std::size_t operation = line.find("] ");
  const std::size_t begin = line.find(": ", operation) + 2;
  const std::size_t noError = line.rfind(NO_ERROR);
  const bool isNoError = noError != std::string::npos && noError + NO_ERROR.size() == line.size();
  return line.substr(begin, isNoError ? noError - begin : std::string::npos);
}

}  // namespace

LoggedSanitizer::LoggedSanitizer() : userLevel(Log::RootLogger::GetInstance().GetLevel()) {
  auto& logger = Log::RootLogger::GetInstance();
  logger.SetLevel(std::max(userLevel, KoraLogLevel::Error));
  logger.SetDestination([this](KoraLogLevel level, const std::string& line) {
    if (level == KoraLogLevel::Error) {
      reason = GetText(line);
    } else {
      std::cerr << line << '\n';
    }
  });
}

LoggedSanitizer::~LoggedSanitizer() {
  auto& logger = Log::RootLogger::GetInstance();
  logger.SetDestination(nullptr);
  logger.SetLevel(userLevel);
}

void LoggedSanitizer::Check(const std::string& source) { Require(sanitizer.Check(source)); }

void LoggedSanitizer::Convert(const std::string& source, const FileReplacement& replacement) {
  const EarlyWriteback writeback(replacement.GetDescriptor());
  Require(sanitizer.Convert(source, replacement.GetTemporaryPath()));
}

void LoggedSanitizer::Require(StatusCode status) const {
  if (status != StatusCode::Success) {
    throw ConversionError(reason, status);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
