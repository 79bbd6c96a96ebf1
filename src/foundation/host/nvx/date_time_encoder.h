#pragma once

#include <ctime>
#include <string>

namespace nvx::DateTime {

// The platform's codec between date texts and broken-down UTC time.
class __attribute__((visibility("default"))) Encoder {
 public:
  // Reads an ISO 8601 date text ("2021-03-28", "2021-03-28T01:00", "...:30", "...:30.250"; then
  // "Z", an offset such as "+02:00", or nothing, which means UTC) into `utc` and `milliseconds`.
  // False, with both unchanged, for any other text and for a day or time that no calendar or clock
  // shows.
  static bool FromString(const std::string& text, std::tm& utc, unsigned short& milliseconds);

  // Converts broken-down UTC time to seconds since the epoch. False, with `seconds` unchanged, when
  // `utc` is not in its normal form.
  static bool ToGmTime(std::tm& utc, long long& seconds);
};

}  // namespace nvx::DateTime
