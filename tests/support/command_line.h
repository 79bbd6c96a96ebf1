#pragma once

#include <fstream>
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

// The words of a command; none of them holds a blank.
inline std::vector<std::string> SplitWords(const std::string& command) {
  std::istringstream stream(command);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}
