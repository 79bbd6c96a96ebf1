#include "error/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

const char* GetName(StatusCode status) {
  switch (status) {
    case StatusCode::Success:
      return "Success";
    case StatusCode::Failure:
      return "Failure";
    case StatusCode::NotFound:
      return "NotFound";
    case StatusCode::NothingToDo:
      return "NothingToDo";
    case StatusCode::IoError:
      return "IoError";
    case StatusCode::EndOfIteration:
      return "EndOfIteration";
    case StatusCode::NullPointer:
      return "NullPointer";
    case StatusCode::InvalidArgument:
      return "InvalidArgument";
    case StatusCode::CannotOpen:
      return "CannotOpen";
    case StatusCode::OutOfMemory:
      return "OutOfMemory";
    case StatusCode::OutOfRange:
      return "OutOfRange";
    case StatusCode::PartialData:
      return "PartialData";
  }
  return "status";
}

}  // namespace

CommandError::CommandError(const std::string& errorSubject, const std::string& errorProblem,
                           StatusCode errorStatus)
    : subject(errorSubject), problem(errorProblem), status(errorStatus) {}

std::string CommandError::GetText() const {
  const int code = static_cast<int>(status);
  return subject + ": " + problem + " (" + GetName(status) + ", " + std::to_string(code) + ")";
}

void Require(StatusCode status, const std::string& subject, const std::string& problem) {
  if (status != StatusCode::Success) {
    throw CommandError(subject, problem, status);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
