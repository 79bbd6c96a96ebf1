#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <fstream>

#include "support/resource_limit.h"

// Of this process.
inline rlim_t GetMemorySize() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

// Neither the memory of a sanitizer nor that of an emulator can be limited.
inline bool IsMemoryLimitable() {
  constexpr int SIZE = 128 << 20;
  const ResourceLimit limit(RLIMIT_AS, GetMemorySize() + SIZE / 2);
  void* const memory = mmap(nullptr, SIZE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return IS_SANITIZED == 0 && (memory == MAP_FAILED || munmap(memory, SIZE) != 0);
}
