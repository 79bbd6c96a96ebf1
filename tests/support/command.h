#pragma once

#include <string>
#include <vector>

#include "support/arguments.h"

int RunCommand(int argc, char** argv);  // the main function of the command line

// Runs the command, or another program's main function, in this process.
inline int RunInProcess(std::vector<std::string> arguments,
                        int (*command)(int, char**) = RunCommand) {
  arguments.insert(arguments.begin(), "nvx-timeseries");
  return command(static_cast<int>(arguments.size()), PointTo(arguments).data());
}
