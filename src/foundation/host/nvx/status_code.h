#pragma once

namespace nv::kora {

// The outcome of an operation of the platform. 0 is success; the numbers are part of the platform's
// interface and never change. The compiler warns where one is ignored.
// clang-format off
enum class [[nodiscard]] StatusCode : int {
  Success = 0,
  Failure = 1,
  NotFound = 2,     // no file at a path, no field in a hash
  Unavailable = 3,  // a server that cannot be reached or does not serve
  NothingToDo = 8,
  IoError = 9,
  EndOfIteration = 19,
  NullPointer = 21,
  InvalidArgument = 28,
  CannotOpen = 42,
  OutOfMemory = 48,
  OutOfRange = 71,
  PartialData = 79,  // a whole answer, none of whose values can be trusted
};
// clang-format on

}  // namespace nv::kora
