#pragma once

#include <limits>

// What `new` of the whole program grants, in a test that is linked with limited_memory.cc.
namespace LimitedMemory {

constexpr long ALL = std::numeric_limits<long>::max();

extern long granted;  // allocations until one fails
extern long held;     // allocations that were not released yet

}  // namespace LimitedMemory
