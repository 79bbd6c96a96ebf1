#include "support/run_program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// A file without name, so that no amount of output can block the program.
File MakeFile() {
  File file(std::tmpfile(), std::fclose);
  return file != nullptr ? std::move(file) : throw std::runtime_error("no temporary file");
}

std::string ReadAll(std::FILE* file) {
  std::string content;
  std::rewind(file);
  for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) {
    content += static_cast<char>(byte);
  }
  return content;
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& command,
                         const std::vector<std::string>& variables) {
  const File in = MakeFile();
  const File out = MakeFile();
  const File err = MakeFile();
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);

  const pid_t child = fork();
  if (child == 0) {
    dup2(fileno(in.get()), STDIN_FILENO);
    dup2(fileno(out.get()), STDOUT_FILENO);
    dup2(fileno(err.get()), STDERR_FILENO);
    for (const std::string& variable : variables) {
      putenv(const_cast<char*>(variable.c_str()));
    }
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ProgramResult result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.output = ReadAll(out.get());
  result.error = ReadAll(err.get());
  return result;
}
