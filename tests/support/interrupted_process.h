#pragma once

#include <functional>

// Kills a child process (SIGKILL) before the n-th of its stores into a shared mapping of a file.
// Every state that the process can leave in the file lies between two of them. Only for machines
// with MACHINE_CAN_COUNT_STORES.
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
