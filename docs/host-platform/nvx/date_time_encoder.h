#pragma once

#include <ctime>
#include <string>

namespace nvx::DateTime {
struct Encoder {
  static bool FromString(const std::string& text, std::tm& utc, unsigned short& milliseconds);
  static bool ToGmTime(std::tm& utc, long long& seconds);
};
}  // namespace nvx::DateTime
