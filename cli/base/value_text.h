#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A value in the shortest form that reads back to the same double; "nan" for none.
class ShortestText {
 public:
  explicit ShortestText(double value)
      : size(std::isnan(value) ? 0 : std::to_chars(text, text + sizeof text, value).ptr - text) {}

  std::string_view Get() const {
    return size == 0 ? "nan" : std::string_view(text, static_cast<std::size_t>(size));
  }

 private:
  char text[32];  // the longest is -2.2250738585072014e-308
  std::ptrdiff_t size;
};

// A value for people, with three digits after the point; "-" for none.
inline std::string FormatValue(double value) {
  if (std::isnan(value)) {
    return "-";
  }
  const double size = std::abs(value);
  const bool isReadable = size == 0 || (size >= 0.001 && size < 1e15) || std::isinf(size);
  char text[32];
  std::snprintf(text, sizeof text, isReadable ? "%.3f" : "%.3e", value);
  return text;
}

// The columns that a UTF-8 text takes: one for each character.
inline std::size_t CountCharacters(const std::string& text) {
  std::size_t count = 0;
  for (const char character : text) {
    count += (static_cast<unsigned char>(character) & 0xc0) != 0x80 ? 1 : 0;
  }
  return count;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
