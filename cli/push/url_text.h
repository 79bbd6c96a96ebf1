#pragma once

#include <new>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The text with escapes such as %41 for characters that have a meaning in a URL.
std::string EncodeUrlPart(const std::string& text);

// The reverse.
std::string DecodeUrlPart(const std::string& text);

// Libraries of C tell in their results that no memory is left.
inline void RequireMemory(bool isThere) {
  if (!isThere) {
    throw std::bad_alloc();  // GCOVR_EXCL_LINE: no test takes the memory of a library
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
