#include "support/limited_memory.h"

#include <cstdlib>
#include <new>

namespace LimitedMemory {

long granted = ALL;
long held = 0;

}  // namespace LimitedMemory

#pragma GCC visibility push(default)
void* operator new(std::size_t size) {
  void* const memory = LimitedMemory::granted-- > 0 ? std::malloc(size == 0 ? 1 : size) : nullptr;
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  ++LimitedMemory::held;
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  void* const memory = LimitedMemory::granted-- > 0 ? std::malloc(size == 0 ? 1 : size) : nullptr;
  LimitedMemory::held += memory == nullptr ? 0 : 1;
  return memory;
}

void operator delete(void* memory) noexcept {
  LimitedMemory::held -= memory == nullptr ? 0 : 1;
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
#pragma GCC visibility pop
