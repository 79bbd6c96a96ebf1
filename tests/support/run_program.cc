#include "support/run_program.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "support/arguments.h"
#include "support/child.h"
#include "support/files.h"
#include "support/temporary_directory.h"

ProgramResult RunProgram(std::vector<std::string> command,
                         const std::vector<std::string>& variables) {
  const TemporaryDirectory directory;  // files, so that no amount of output can block the program
  const std::string output = directory.GetPath("output");
  const std::string error = directory.GetPath("error");
  const std::vector<char*> arguments = PointTo(command);
  ProgramResult result;
  result.status = RunInChild([&] {
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
    dup2(open(error.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
    for (const std::string& variable : variables) {
      putenv(const_cast<char*>(variable.c_str()));
    }
    execvp(arguments[0], arguments.data());
    return 127;
  });
  result.output = ReadFile(output);
  result.error = ReadFile(error);
  return result;
}
