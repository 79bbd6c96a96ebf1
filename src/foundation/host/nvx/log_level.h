#pragma once

namespace nv::kora {

// How much of the log is written: a line is written when the logger's level is at least the line's.
// The values between those named here are levels of other users of the platform.
enum class KoraLogLevel : unsigned char {
  None = 0,
  Error = 3,
  Information = 6,
  Trace = 7,
};

}  // namespace nv::kora
