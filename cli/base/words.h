#pragma once

#include <cstddef>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// "1 row" or "2 rows".
inline std::string Count(unsigned long long count, const std::string& thing) {
  return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

// Texts with the separator between them.
template <typename Texts>
std::string Join(const Texts& texts, const std::string& separator = ", ") {
  std::string joined;
  bool isFirst = true;
  for (const std::string& text : texts) {
    joined += (isFirst ? "" : separator) + text;
    isFirst = false;
  }
  return joined;
}

// "a, b and c", the names of items.
template <typename Items, typename Name>
std::string JoinNames(const Items& items, Name name) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const bool isLast = i + 1 == items.size();
    text += (i == 0 ? "" : isLast ? " and " : ", ") + name(items[i]);
  }
  return text;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
