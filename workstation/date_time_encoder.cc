#include "nvx/date_time_encoder.h"

#include <ctime>
#include <string_view>

namespace nvx::DateTime {
namespace {

// Takes the parts of a text from left to right; each operation takes nothing when it fails.
class Reader {
 public:
  explicit Reader(std::string_view whole) : rest(whole) {}

  bool IsAtEnd() const { return rest.empty(); }

  bool Take(char wanted) {
    if (rest.empty() || rest.front() != wanted) {
      return false;
    }
    rest.remove_prefix(1);
    return true;
  }

  bool TakeNumber(std::size_t digits, int& number) {
    if (rest.size() < digits) {
      return false;
    }
    int value = 0;
    for (const char digit : rest.substr(0, digits)) {
      if (digit < '0' || digit > '9') {
        return false;
      }
      value = value * 10 + (digit - '0');
    }
    rest.remove_prefix(digits);
    number = value;
    return true;
  }

 private:
  std::string_view rest;
};

bool IsSame(const std::tm& lhs, const std::tm& rhs) {
  return lhs.tm_year == rhs.tm_year && lhs.tm_mon == rhs.tm_mon && lhs.tm_mday == rhs.tm_mday &&
         lhs.tm_hour == rhs.tm_hour && lhs.tm_min == rhs.tm_min && lhs.tm_sec == rhs.tm_sec;
}

bool TakeDay(Reader& reader, std::tm& date) {
  int year = 0;
  int month = 0;
  if (!reader.TakeNumber(4, year) || !reader.Take('-') || !reader.TakeNumber(2, month) ||
      !reader.Take('-') || !reader.TakeNumber(2, date.tm_mday)) {
    return false;
  }
  date.tm_year = year - 1900;
  date.tm_mon = month - 1;
  return true;
}

bool TakeTime(Reader& reader, std::tm& date, int& milliseconds) {
  if (!reader.TakeNumber(2, date.tm_hour) || !reader.Take(':') ||
      !reader.TakeNumber(2, date.tm_min)) {
    return false;
  }
  if (!reader.Take(':')) {
    return true;
  }
  if (!reader.TakeNumber(2, date.tm_sec)) {
    return false;
  }
  return !reader.Take('.') || reader.TakeNumber(3, milliseconds);
}

bool TakeOffset(Reader& reader, int& offsetSeconds) {
  if (reader.IsAtEnd() || reader.Take('Z')) {
    return true;
  }
  const bool isWest = reader.Take('-');
  int hours = 0;
  int minutes = 0;
  if ((!isWest && !reader.Take('+')) || !reader.TakeNumber(2, hours) || !reader.Take(':') ||
      !reader.TakeNumber(2, minutes) || hours > 23 || minutes > 59) {
    return false;
  }
  offsetSeconds = (isWest ? -1 : 1) * (hours * 3600 + minutes * 60);
  return true;
}

}  // namespace

bool Encoder::FromString(const std::string& text, std::tm& utc, unsigned short& milliseconds) {
  Reader reader(text);
  std::tm local{};
  int fraction = 0;
  int offsetSeconds = 0;
  if (!TakeDay(reader, local)) {
    return false;
  }
  if (reader.Take('T') &&
      (!TakeTime(reader, local, fraction) || !TakeOffset(reader, offsetSeconds))) {
    return false;
  }
  long long seconds = 0;
  if (!reader.IsAtEnd() || !ToGmTime(local, seconds)) {
    return false;
  }

  const auto instant = static_cast<std::time_t>(seconds - offsetSeconds);
  gmtime_r(&instant, &utc);
  milliseconds = static_cast<unsigned short>(fraction);
  return true;
}

bool Encoder::ToGmTime(std::tm& utc, long long& seconds) {
  std::tm normal = utc;
  const std::time_t instant = timegm(&normal);
  if (!IsSame(normal, utc)) {
    return false;
  }
  seconds = instant;
  return true;
}

}  // namespace nvx::DateTime
