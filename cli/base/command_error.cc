#include "base/command_error.h"

#include <nvx/workstation/status_code_name.h>

#include <iostream>

namespace nvx::TimeSeriesDatabase::CommandLine {

CommandError::CommandError(const std::string& errorSubject, const std::string& errorProblem,
                           StatusCode errorStatus)
    : CommandError(errorSubject, errorProblem, errorStatus, EXIT_FAILED) {}

CommandError::CommandError(const std::string& errorSubject, const std::string& errorProblem,
                           StatusCode errorStatus, ExitStatus errorExitStatus)
    : subject(errorSubject),
      problem(errorProblem),
      status(errorStatus),
      exitStatus(errorExitStatus) {}

std::string CommandError::GetText() const {
  std::string text = subject + ": " + problem;
  if (Log::RootLogger::GetInstance().GetLevel() != nv::kora::KoraLogLevel::None) {
    text += std::string(" (") + Workstation::StatusCodeToString(status) + ", " +
            std::to_string(static_cast<int>(status)) + ")";
  }
  return text;
}

void PrintMessage(const std::string& text) {
  std::cerr << "nvx-timeseries: " << WithoutControls(text) << '\n';
}

void Require(StatusCode status, const std::string& subject, const std::string& problem) {
  if (status != StatusCode::Success) {
    throw CommandError(subject, problem, status);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
