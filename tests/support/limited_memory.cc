#include "support/limited_memory.h"

#include <cstdlib>
#include <new>

namespace LimitedMemory {

long granted = ALL;
long held = 0;

}  // namespace LimitedMemory

namespace {

void* Allocate(std::size_t size) {
  void* const memory = LimitedMemory::granted-- > 0 ? std::malloc(size == 0 ? 1 : size) : nullptr;
  LimitedMemory::held += memory == nullptr ? 0 : 1;
  return memory;
}

}  // namespace

#pragma GCC visibility push(default)
void* operator new(std::size_t size) {
  void* const memory = Allocate(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}

void operator delete(void* memory) noexcept {
  LimitedMemory::held -= memory == nullptr ? 0 : 1;
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
#pragma GCC visibility pop
