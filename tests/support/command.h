#pragma once

#include <string>
#include <vector>

int RunCommand(int argc, char** argv);  // the main function of the command line

// Runs the command, or another program's main function, in this process.
inline int RunInProcess(std::vector<std::string> arguments,
                        int (*command)(int, char**) = RunCommand) {
  arguments.insert(arguments.begin(), "nvx-timeseries");
  std::vector<char*> pointers;
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  return command(static_cast<int>(arguments.size()), pointers.data());
}
