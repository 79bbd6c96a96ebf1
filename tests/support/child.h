#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// Its exit status will be what the work returns.
inline pid_t StartChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(work());
  }
  return child;
}

// Waits for a child process: its exit status, or 128 + the number of the signal that ended it.
inline int WaitFor(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

inline int RunInChild(const std::function<int()>& work) { return WaitFor(StartChild(work)); }
