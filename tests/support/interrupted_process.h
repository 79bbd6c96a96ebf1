#pragma once

#include <functional>

// Ends with SIGKILL, in a child process, before the n-th of its stores into a shared mapping of a
// file that it makes: every state that such a process can leave in the file, as the kernel sees it,
// is between two of them. For machines with MACHINE_CAN_COUNT_STORES alone.
#ifdef __x86_64__
#define MACHINE_CAN_COUNT_STORES 1
#else
#define MACHINE_CAN_COUNT_STORES 0
#endif

// Whether it was killed; otherwise it has ended by itself. 0 for no kill.
bool KillAtStore(const std::function<void()>& work, long store);

// How many stores the work has.
long CountStores(const std::function<void()>& work);

// Killed after so many microseconds.
bool KillAfter(const std::function<void()>& work, long microseconds);
