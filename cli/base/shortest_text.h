#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
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

}  // namespace nvx::TimeSeriesDatabase::CommandLine
