#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// Waits for a child process: its exit status, or 128 + the number of the signal that ended it.
inline int WaitFor(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

inline int RunInChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(work());
  }
  return WaitFor(child);
}
