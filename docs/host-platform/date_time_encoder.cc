#include "nvx/date_time_encoder.h"

#include <regex>
#include <tuple>

namespace nvx::DateTime {

bool Encoder::FromString(const std::string& text, std::tm& utc, unsigned short& milliseconds) {
  static const std::regex iso8601(
      R"((\d{4})-(\d\d)-(\d\d)(T(\d\d):(\d\d)(:(\d\d)(\.(\d{3}))?)?(Z|([+-])(\d\d):(\d\d))?)?)");
  std::smatch parts;
  if (!std::regex_match(text, parts, iso8601)) {
    return false;
  }
  const auto read = [&parts](std::size_t part) {
    return parts[part].matched ? std::stoi(parts[part]) : 0;
  };
  std::tm date{};
  date.tm_year = read(1) - 1900;
  date.tm_mon = read(2) - 1;
  date.tm_mday = read(3);
  date.tm_hour = read(5);
  date.tm_min = read(6);
  date.tm_sec = read(8);
  long long seconds = 0;
  if (read(13) > 23 || read(14) > 59 || !ToGmTime(date, seconds)) {
    return false;
  }
  const int offset = read(13) * 3600 + read(14) * 60;
  const std::time_t instant = seconds + (parts[12] == "-" ? offset : -offset);
  gmtime_r(&instant, &utc);
  milliseconds = static_cast<unsigned short>(read(10));
  return true;
}

bool Encoder::ToGmTime(std::tm& utc, long long& seconds) {
  std::tm normal = utc;
  const std::time_t instant = timegm(&normal);
  const auto fields = [](const std::tm& date) {
    return std::tie(date.tm_mon, date.tm_mday, date.tm_hour, date.tm_min, date.tm_sec);
  };
  if (fields(normal) != fields(utc)) {
    return false;
  }
  seconds = instant;
  return true;
}

}  // namespace nvx::DateTime
