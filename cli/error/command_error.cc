#include "error/command_error.h"

#include <algorithm>
#include <iostream>

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

bool IsControl(char character) {
  return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

}  // namespace

CommandError::CommandError(const std::string& errorSubject, const std::string& errorProblem,
                           StatusCode errorStatus)
    : subject(errorSubject), problem(errorProblem), status(errorStatus) {}

std::string CommandError::GetText() const {
  return subject + ": " + problem + " (" + DescribeStatus(status) + ")";
}

void Require(StatusCode status, const std::string& subject, const std::string& problem) {
  if (status != StatusCode::Success) {
    throw CommandError(subject, problem, status);
  }
}

std::string WithoutControls(std::string text) {
  std::replace_if(text.begin(), text.end(), IsControl, '?');
  return text;
}

void PrintMessage(const std::string& text) {
  std::cerr << "nvx-timeseries: " << WithoutControls(text) << '\n';
}

std::string DescribeStatus(StatusCode status) {
  return std::string(GetName(status)) + ", " + std::to_string(static_cast<int>(status));
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
