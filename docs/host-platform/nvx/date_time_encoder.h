#pragma once

#include <ctime>
#include <string>

namespace nvx::DateTime {
struct Encoder {
  static bool FromString(const std::string&, std::tm&, unsigned short&) { return false; }
  static bool ToGmTime(std::tm&, long long&) { return false; }
};
}  // namespace nvx::DateTime
