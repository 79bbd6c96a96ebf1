#pragma once

#include <functional>

// Kills a child process (SIGKILL) before the n-th of its stores into a shared mapping of a file.
// Every state that the process can leave in the file lies between two of them. Only for machines
// with MACHINE_CAN_COUNT_STORES.
#if defined(__x86_64__) && IS_SANITIZED == 0
#define MACHINE_CAN_COUNT_STORES 1
#else
#define MACHINE_CAN_COUNT_STORES 0
#endif

// Whether it was killed; otherwise it has ended by itself. Throws where it has crashed. 0 for no
// kill.
bool KillAtStore(const std::function<void()>& work, long long store);

// For calls of the system that change a file, which a program then makes itself: in such a child
// each counts as a store, on every machine, and the child may end at it. False in any other
// process.
bool CountCall();

// How many stores the work has.
long long CountStores(const std::function<void()>& work);

// Killed after so many microseconds.
bool KillAfter(const std::function<void()>& work, long long microseconds);
