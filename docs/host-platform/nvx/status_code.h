#pragma once

namespace nv::kora {
// clang-format off
enum class [[nodiscard]] StatusCode {
  Success = 0,
  Failure = 1,
  NothingToDo = 8,
  IoError = 9,
  EndOfIteration = 19,
  NullPointer = 21,
  InvalidArgument = 28,
  CannotOpen = 42,
  OutOfMemory = 48,
  OutOfRange = 71,
  PartialData = 79,
};
// clang-format on
}  // namespace nv::kora
