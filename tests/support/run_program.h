#pragma once

#include <string>
#include <vector>

struct ProgramResult {
  int status = -1;  // exit status, or 128 + the number of the signal that ended it
  std::string output;
  std::string error;
};

// Runs a program with its arguments, nothing at its standard input, and waits for its end.
// Variables, "NAME=value", are added to the environment.
ProgramResult RunProgram(std::vector<std::string> command,
                         const std::vector<std::string>& variables = {});
