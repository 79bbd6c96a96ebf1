#pragma once

#include <string>

#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// The exit statuses of the program.
enum ExitStatus : int {
  EXIT_DONE = 0,
  EXIT_FAILED = 1,
  EXIT_WRONG_USAGE = 2,
  EXIT_PARTIAL_DATA = 3,
};

// Ends a command with one line on standard error and EXIT_FAILED.
class CommandError {
 public:
  // The line reads "nvx-timeseries: SUBJECT: PROBLEM (InvalidArgument, 28)".
  CommandError(const std::string& errorSubject, const std::string& errorProblem,
               StatusCode errorStatus);

  // Appends to the problem.
  void AddNote(const std::string& note) { problem += note; }

  std::string GetText() const;

 private:
  std::string subject;
  std::string problem;
  StatusCode status;
};

// Throws a CommandError unless the status is Success.
void Require(StatusCode status, const std::string& subject, const std::string& problem);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
