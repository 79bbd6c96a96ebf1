#include "support/interrupted_process.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "support/child.h"

namespace {

// Shared with the child.
long long& storeCount = *static_cast<long long*>(
    mmap(nullptr, sizeof(long long), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

bool isCounting = false;
long long lastStore = 0;

void CountStore() {
  if (++storeCount == lastStore) {
    kill(getpid(), SIGKILL);
  }
}

#if MACHINE_CAN_COUNT_STORES
void* mapping = nullptr;
std::size_t mappingSize = 0;

constexpr greg_t TRAP_FLAG = 0x100;

greg_t& GetFlags(void* context) {
  return static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL];
}

// A store into the mapping: it is let through, and only it.
void OnFault(int /*signal*/, siginfo_t* information, void* context) {
  const auto address = reinterpret_cast<std::uintptr_t>(information->si_addr);
  const auto start = reinterpret_cast<std::uintptr_t>(mapping);
  if (address < start || address >= start + mappingSize) {
    _exit(3);
  }
  CountStore();
  mprotect(mapping, mappingSize, PROT_READ | PROT_WRITE);
  GetFlags(context) |= TRAP_FLAG;
}

void OnTrap(int /*signal*/, siginfo_t* /*information*/, void* context) {
  mprotect(mapping, mappingSize, PROT_READ);
  GetFlags(context) &= ~TRAP_FLAG;
}

void CatchStores() {
  struct sigaction action {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = OnFault;
  sigaction(SIGSEGV, &action, nullptr);
  action.sa_sigaction = OnTrap;
  sigaction(SIGTRAP, &action, nullptr);
}
#else
void CatchStores() {}
#endif

bool IsKilled(pid_t child) {
  const int status = WaitFor(child);
  if (status != 0 && status != 128 + SIGKILL) {
    throw std::runtime_error("a child process ended with " + std::to_string(status));
  }
  return status != 0;
}

}  // namespace

#if MACHINE_CAN_COUNT_STORES
#pragma GCC visibility push(default)
// In place of the C library's, for the RRD library.
extern "C" void* mmap(void* address, std::size_t size, int protection, int flags, int fd,
                      off_t offset) noexcept {
  const bool isGuarded = isCounting && fd != -1 && (flags & MAP_SHARED) != 0;
  if (isGuarded) {
    protection &= ~PROT_WRITE;
  }
  const long result = syscall(SYS_mmap, address, size, protection, flags, fd, offset);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the system call returns an address
  auto* const mapped = reinterpret_cast<void*>(result);
  if (isGuarded) {
    mapping = mapped;
    mappingSize = size;
  }
  return mapped;
}
#pragma GCC visibility pop
#endif

bool KillAtStore(const std::function<void()>& work, long long store) {
  storeCount = 0;
  lastStore = store;
  return IsKilled(StartChild([&] {
    CatchStores();
    isCounting = true;
    work();
    return 0;
  }));
}

bool CountCall() {
  if (isCounting) {
    CountStore();
  }
  return isCounting;
}

long long CountStores(const std::function<void()>& work) {
  KillAtStore(work, 0);
  return storeCount;
}

bool KillAfter(const std::function<void()>& work, long long microseconds) {
  const pid_t child = StartChild([&] {
    work();
    return 0;
  });
  usleep(static_cast<useconds_t>(microseconds));
  kill(child, SIGKILL);
  return IsKilled(child);
}
