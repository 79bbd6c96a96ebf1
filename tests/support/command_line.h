#pragma once

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/run_program.h"
#include "support/temporary_directory.h"

// Runs nvx-timeseries on a database directory of its own.
class CommandLine {
 public:
  ProgramResult Run(std::vector<std::string> arguments, const std::string& input = "",
                    const std::vector<std::string>& variables = {}) const {
    arguments.insert(arguments.begin(),
                     {NVX_TIMESERIES, "--log-level", "none", "-d", directory.GetPath()});
    return RunProgram(arguments, input, variables);
  }

  // None of the words of the command holds a blank.
  ProgramResult Run(const std::string& command, const std::string& input = "",
                    const std::vector<std::string>& variables = {}) const {
    std::istringstream stream(command);
    return Run(std::vector<std::string>(std::istream_iterator<std::string>(stream), {}), input,
               variables);
  }

  std::string GetPath(const std::string& name) const { return directory.GetPath(name); }

  std::string ReadFile(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(GetPath(name), std::ios::binary).rdbuf();
    return content.str();
  }

  void WriteFile(const std::string& name, const std::string& content) const {
    std::ofstream(GetPath(name), std::ios::binary) << content;
  }

 private:
  TemporaryDirectory directory;
};
