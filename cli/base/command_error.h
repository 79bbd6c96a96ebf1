#pragma once

#include <nvx/workstation/printable_text.h>

#include <string>

#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

using Workstation::WithoutControls;

// The exit statuses of the program.
enum ExitStatus : int {
  EXIT_DONE = 0,
  EXIT_FAILED = 1,
  EXIT_WRONG_USAGE = 2,
  EXIT_PARTIAL_DATA = 3,
};

// Ends a command with one line on standard error and an exit status, EXIT_FAILED.
class CommandError {
 public:
  // The line is "nvx-timeseries: SUBJECT: PROBLEM". Where the log is shown, too, it ends with the
  // status: "(InvalidArgument, 28)".
  CommandError(const std::string& errorSubject, const std::string& errorProblem,
               StatusCode errorStatus = StatusCode::InvalidArgument);

  // Appends to the problem.
  void AddNote(const std::string& note) { problem += note; }

  std::string GetText() const;

  ExitStatus GetExitStatus() const { return exitStatus; }

 protected:
  CommandError(const std::string& errorSubject, const std::string& errorProblem,
               StatusCode errorStatus, ExitStatus errorExitStatus);

 private:
  std::string subject;
  std::string problem;
  StatusCode status;
  ExitStatus exitStatus;
};

// An argument that is wrong whatever is in the files: EXIT_WRONG_USAGE, InvalidArgument.
class UsageError : public CommandError {
 public:
  UsageError(const std::string& argument, const std::string& problem)
      : CommandError(argument, problem, StatusCode::InvalidArgument, EXIT_WRONG_USAGE) {}
};

// Writes "nvx-timeseries: TEXT" to standard error, as one line whatever is in the text.
void PrintMessage(const std::string& text);

// Throws a CommandError unless the status is Success.
void Require(StatusCode status, const std::string& subject, const std::string& problem);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
